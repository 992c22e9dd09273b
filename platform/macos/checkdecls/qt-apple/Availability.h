#pragma once
// For Qt's headers compiled for an Apple target in the Linux check: Qt names
// the system versions it needs itself where this header has none.
