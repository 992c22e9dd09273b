#pragma once

#include "OrvMediaFormat.h"

#include <QFileInfo>

// A frame of a video; the default means "the still image itself".
class OrvVideoFrameIndex
{
public:
    OrvVideoFrameIndex() = default;
    explicit OrvVideoFrameIndex(qint64 frame) : myFrame(frame) {}
    qint64 frame() const { return myFrame; }
    bool isValid() const { return myFrame >= 0; }
    bool operator==(const OrvVideoFrameIndex& other) const { return myFrame == other.myFrame; }

private:
    qint64 myFrame = -1;
};

// Which medium to read: a file on disk and, for videos, the frame.
class OrvMediaDescriptor
{
public:
    OrvMediaDescriptor() = default;
    OrvMediaDescriptor(const QFileInfo& file, const OrvVideoFrameIndex& frame = OrvVideoFrameIndex())
        : myFile(file), myFrame(frame)
    {
    }

    const QFileInfo& fileInfo() const { return myFile; }
    QString filePath() const { return myFile.filePath(); }
    const OrvVideoFrameIndex& frameIndex() const { return myFrame; }
    OrvMediaFormat format() const { return OrvMediaFormat(myFile); }
    bool isValid() const { return !myFile.filePath().isEmpty(); }

    bool operator==(const OrvMediaDescriptor& other) const
    {
        return myFile.filePath() == other.myFile.filePath() && myFrame == other.myFrame;
    }

private:
    QFileInfo myFile;
    OrvVideoFrameIndex myFrame;
};
