#pragma once

// What a collection of a library model is: which fetches find it, and whether
// it lives at the top level or in folders.

namespace OrvPhotoKitModel {

enum class CollectionKind { UserAlbum, SmartAlbum, SharedAlbum, Folder };

} // namespace OrvPhotoKitModel
