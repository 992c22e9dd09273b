#pragma once

// The desktop's choice of application per MIME type, as freedesktop.org's "MIME Applications"
// standard keeps it in the user's mimeapps.list ($XDG_CONFIG_HOME, default ~/.config).
// For camera content (x-content/image-dcf) this is what the desktop's
// automount offers to start when a camera or card is plugged in: the Linux
// counterpart of a device's auto-launch application.

#include <QString>

namespace OrvXdgMimeApps {

inline const QString cameraContent = QStringLiteral("x-content/image-dcf");

// The desktop file of the default application for mimeType: its path where it
// is installed, else its id; a null text when the user chose none.
QString defaultApplication(const QString& mimeType);
// Makes the desktop file (a path or an id) the default for mimeType, or, with
// a null text, forgets the choice. Every other line of the file stays. False
// when the file cannot be written (or is a link, which is left alone).
bool setDefaultApplication(const QString& mimeType, const QString& desktopFile);

} // namespace OrvXdgMimeApps
