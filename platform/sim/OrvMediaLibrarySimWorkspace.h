#pragma once

// NSWorkspace's running applications, on Linux: the processes of the process
// table. A process has no bundle identifier here; its executable's name
// stands in for one.

#include "OrvMediaLibrary.h"

namespace OrvMediaLibrarySim {

class Workspace
{
public:
    // Every process under processRoot (a procfs mount) that can be seen.
    static QList<OrvMediaLibrary::RunningApplication> runningApplications(const QString& processRoot = QStringLiteral("/proc"));
};

} // namespace OrvMediaLibrarySim
