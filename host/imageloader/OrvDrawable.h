#pragma once

#include <QImage>

// Pixels ready to draw; empty when nothing could be decoded.
class OrvDrawable
{
public:
    OrvDrawable() = default;
    explicit OrvDrawable(const QImage& image) : myImage(image) {}
    explicit OrvDrawable(QImage&& image) : myImage(std::move(image)) {}

    bool isNull() const { return myImage.isNull(); }
    const QImage& image() const { return myImage; }
    QSize size() const { return myImage.size(); }
    // Bytes the pixels take, for cache budgets.
    qint64 byteCount() const { return myImage.sizeInBytes(); }

private:
    QImage myImage;
};

// What a data retriever hands back for a bitmap request.
class OrvFetchDrawableResult
{
public:
    OrvFetchDrawableResult() = default;
    explicit OrvFetchDrawableResult(const OrvDrawable& drawable) : myDrawable(drawable) {}
    explicit OrvFetchDrawableResult(OrvDrawable&& drawable) : myDrawable(std::move(drawable)) {}

    bool isValid() const { return !myDrawable.isNull(); }
    const OrvDrawable& drawable() const { return myDrawable; }

private:
    OrvDrawable myDrawable;
};
