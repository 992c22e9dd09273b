#pragma once
// For Qt's headers compiled for an Apple target in the Linux check (see Availability.h).
