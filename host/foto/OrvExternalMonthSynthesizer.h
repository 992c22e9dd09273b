#pragma once

#include "OrvExternalAlbum.h"
#include "OrvExternalFoto.h"

// Groups fotos into one album per calendar month of their dates.
class OrvExternalMonthSynthesizer
{
public:
    explicit OrvExternalMonthSynthesizer(const OrvExternalFotoList& fotos) : myFotos(fotos) {}
    // Newest month first; fotos of a month in date order; fotos without a date are left out.
    // Ids: <service>:month#YYYY-MM.
    OrvExternalAlbumList synthetiseMonthAlbums() const;

private:
    OrvExternalFotoList myFotos;
};
