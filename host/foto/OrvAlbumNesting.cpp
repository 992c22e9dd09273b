#include "OrvAlbumNesting.h"

#include <algorithm>
#include <vector>

OrvExternalAlbumPool OrvAlbumNesting::nested(const OrvExternalAlbumPool& albums,
                                             const QHash<OrvExternalId, OrvExternalId>& parents)
{
    const OrvExternalAlbumList list = albums.albums();
    const qsizetype count = list.size();
    const auto parentOf = [&](const OrvExternalAlbum& album) {
        return parents.value(album.id(), album.parentAlbum());
    };
    const bool anyParent = std::any_of(list.cbegin(), list.cend(),
                                       [&](const OrvExternalAlbum& album) { return parentOf(album).isValid(); });
    if (!anyParent)
        return albums;
    QHash<OrvExternalId, qsizetype> index;
    index.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        index.insert(list.at(i).id(), i);
    std::vector<qsizetype> parent(size_t(count), -1);
    for (qsizetype i = 0; i < count; ++i) {
        const auto it = index.constFind(parentOf(list.at(i)));
        if (it != index.constEnd() && *it != i)
            parent[size_t(i)] = *it;
    }
    // Each album once: walk up to what is placed already (or the top), then
    // place the walked albums from the top down. Linear however the library nests.
    enum State : quint8 { Open, OnPath, Placed };
    std::vector<State> state(size_t(count), Open);
    std::vector<int> depth(size_t(count), 0);
    std::vector<qsizetype> path;
    for (qsizetype start = 0; start < count; ++start) {
        path.clear();
        qsizetype at = start;
        while (at >= 0 && state[size_t(at)] == Open) {
            state[size_t(at)] = OnPath;
            path.push_back(at);
            at = parent[size_t(at)];
        }
        if (at >= 0 && state[size_t(at)] == OnPath)
            parent[size_t(path.back())] = -1;  // the parents went round in a circle
        for (auto it = path.rbegin(); it != path.rend(); ++it) {
            const qsizetype album = *it;
            const qsizetype up = parent[size_t(album)];
            int level = up < 0 ? 0 : depth[size_t(up)] + 1;
            if (level > maxDepth) {
                parent[size_t(album)] = -1;
                level = 0;
            }
            depth[size_t(album)] = level;
            state[size_t(album)] = Placed;
        }
    }
    OrvExternalAlbumPool placed;
    for (qsizetype i = 0; i < count; ++i) {
        OrvExternalAlbum album = list.at(i);
        const qsizetype up = parent[size_t(i)];
        album.setParentAlbum(up < 0 ? OrvExternalId() : list.at(up).id());
        placed.add(album);
    }
    return placed;
}
