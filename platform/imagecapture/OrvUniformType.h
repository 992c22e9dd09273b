#pragma once

// Uniform type identifiers as far as devices need them: which type a file
// name's extension or a MIME type stands for, and UTTypeConformsTo over the
// system's declared hierarchy (images and movies, with the types cameras write).

#include <QString>

namespace OrvUniformType {

inline const QString kUTTypeItem = QStringLiteral("public.item");
inline const QString kUTTypeData = QStringLiteral("public.data");
inline const QString kUTTypeFolder = QStringLiteral("public.folder");
inline const QString kUTTypeImage = QStringLiteral("public.image");
inline const QString kUTTypeMovie = QStringLiteral("public.movie");
inline const QString kUTTypeAudio = QStringLiteral("public.audio");

// UTTypeConformsTo: whether uti is parent or declared (directly or further up) to conform to it.
bool conformsTo(const QString& uti, const QString& parent);
// The type of a file extension (case-insensitive, without the dot); "public.data" when unknown.
QString typeForExtension(const QString& extension);
// The type of a MIME type; "public.data" when unknown.
QString typeForMimeType(const QString& mimeType);

} // namespace OrvUniformType
