#pragma once

#include "OrvMediaFormat.h"

#include <QByteArray>
#include <QString>

class OrvUserFile;

// What a file's bytes are, told from the bytes and not from the name, and
// whether a file is a whole image (or movie) of a kind: the one rule for
// everything handed over as a photo. A name says a kind (IMG_0001.JPG a
// JPEG); bytes of another kind under it (a PNG, text, zeros, nothing at all)
// are no photo of that kind, and neither is an image cut off before its end
// or one that declares more pixels than the loader decodes. Reads the head,
// the tail and, for a JPEG, its markers: never a decode, never the whole file
// in memory, so a 100-megapixel photo passes at the speed of reading it.
class OrvMediaCheck
{
public:
    enum Verdict { Whole, Unreadable, Empty, OtherKind, CutOff, TooManyPixels };

    // The kind the first bytes show (headSize of them are enough); invalid when
    // they show none known. Camera raw is recognised by the signatures that
    // are no TIFF; TIFF-based raw files show as TIFF.
    static constexpr int headSize = 32;
    static OrvMediaFormat formatOf(const QByteArray& head);

    // Whether the open file is a whole image or movie of kind. Movies, raw and
    // HEIC are judged by their signature only; JPEG must reach its end
    // marker, PNG its end chunk. An invalid kind (a name without a known
    // suffix) takes any kind the bytes show. Raw takes every file that shows
    // no other kind: raw formats are too many to know them all.
    // found, when given, gets the kind the bytes show.
    static Verdict check(OrvUserFile* file, const OrvMediaFormat& kind, OrvMediaFormat* found = nullptr);
    static Verdict check(const QString& path, const OrvMediaFormat& kind, OrvMediaFormat* found = nullptr);
    // Why a file is no whole image of kind: "not a whole JPEG image: it holds a PNG image", ...
    static QString describe(Verdict verdict, const OrvMediaFormat& kind, const OrvMediaFormat& found = OrvMediaFormat());

    // Whether a file written under name is a whole image of the kind the name's
    // suffix says; why, when it is not. Of the shape of OrvTargetFolder's check.
    static bool isWholeAsNamed(OrvUserFile* file, QString* name, QString* why);

    // Whether a PNG ends with its end chunk (a little junk after it is fine).
    static bool pngReachesEnd(OrvUserFile* file);
};
