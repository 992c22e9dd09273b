#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <ostream>

// Readable QStrings in test failure messages.
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace OrvTest {

// Folder of the checkout and of the build, as ctest passes them.
QString sourceDir();
QString binaryDir();

// A JPEG of the given size with a recognisable pattern; with an EXIF
// orientation tag when orientation is not 1.
QByteArray makeJpeg(int width, int height, int orientation = 1, int quality = 90);
bool writeFile(const QString& path, const QByteArray& bytes);

// Runs the event loop until condition holds or timeoutMs passes.
bool waitFor(const std::function<bool()>& condition, int timeoutMs = 5000);

} // namespace OrvTest
