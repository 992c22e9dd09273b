#pragma once

#include "OrvExternalId.h"

#include <QDate>
#include <QMetaType>
#include <QString>

// Small values that travel through the source interface.

struct OrvCredentials
{
    QString user;
    QString secret;
};

struct OrvGenericFotoQuery
{
    QString text;
};

struct OrvSearchSuggestionItem
{
    QString text;
};

struct OrvDateRange
{
    QDate from;
    QDate to;
};

// Host sort options; 0 means "none", 3 "favourites first, then by date".
enum OrvFotoSortOption : quint32 {
    OrvFotoSortNone = 0,
    OrvFotoSortByDate = 1,
    OrvFotoSortByName = 2,
    OrvFotoSortByFavoriteAndDate = 3,
};

enum OrvExternalDatabaseAbility : quint32 {
    OrvAbilityNone = 0,
    OrvAbilityCreateFolder = 1,
    OrvAbilityRenameFolder = 2,
    OrvAbilityDeleteFolder = 4,
    OrvAbilityDeleteFoto = 8,
    OrvAbilityAddFotos = 16,
};
using OrvExternalDatabaseAbilities = quint32;

// Node of the host's source tree; a default node stands for the whole source.
class OrvFotoSourceNode
{
public:
    OrvFotoSourceNode() = default;
    explicit OrvFotoSourceNode(const OrvExternalId& albumId) : myAlbumId(albumId) {}
    const OrvExternalId& albumId() const { return myAlbumId; }
    bool isSourceRoot() const { return !myAlbumId.isValid(); }

private:
    OrvExternalId myAlbumId;
};

Q_DECLARE_METATYPE(OrvFotoSourceNode)
