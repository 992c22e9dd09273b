#pragma once

#include <QIcon>
#include <QImage>
#include <QMetaType>
#include <QString>

using OrvExternalServiceTreeHints = quint32;

// A photo source as the user interface presents it.
class OrvExternalService
{
public:
    OrvExternalService() = default;
    OrvExternalService(const QString& serviceId, const QString& displayName, const QIcon& icon, const QIcon& smallIcon,
                       const QImage& banner, OrvExternalServiceTreeHints hints)
        : myServiceId(serviceId), myDisplayName(displayName), myIcon(icon), mySmallIcon(smallIcon), myBanner(banner),
          myHints(hints)
    {
    }

    const QString& serviceId() const { return myServiceId; }
    const QString& displayName() const { return myDisplayName; }
    const QIcon& icon() const { return myIcon; }
    const QIcon& smallIcon() const { return mySmallIcon; }
    const QImage& banner() const { return myBanner; }
    OrvExternalServiceTreeHints treeHints() const { return myHints; }
    // Shown in place of an empty or unavailable source.
    const QString& placeholderText() const { return myPlaceholderText; }

    void setIcons(const QIcon& icon)
    {
        myIcon = icon;
        mySmallIcon = icon;
    }
    void setPlaceholderText(const QString& text) { myPlaceholderText = text; }

private:
    QString myServiceId;
    QString myDisplayName;
    QIcon myIcon;
    QIcon mySmallIcon;
    QImage myBanner;
    OrvExternalServiceTreeHints myHints = 0;
    QString myPlaceholderText;
};

// The type code of a photo source (bit flags, one per kind of source).
class OrvFotoDatabaseType
{
public:
    // The codes of the sources of the Apple photo plug-in.
    enum Code : quint32 {
        IPhoto = 128,
        Aperture = 256,
        ApplePhotos = 512,  // the Photos library through MediaLibrary
        AppleImageCapture = 2048,
        PhotoKit = 4096,
    };

    OrvFotoDatabaseType() = default;
    explicit OrvFotoDatabaseType(quint32 code) : myCode(code) {}
    virtual ~OrvFotoDatabaseType() = default;
    quint32 code() const { return myCode; }
    bool operator==(const OrvFotoDatabaseType& other) const { return myCode == other.myCode; }
    bool operator!=(const OrvFotoDatabaseType& other) const { return myCode != other.myCode; }

    // The user-visible name of a source from its service id; the id itself when unknown.
    static QString displayName(const QString& serviceId);

private:
    quint32 myCode = 0;
};

inline size_t qHash(const OrvFotoDatabaseType& type, size_t seed = 0) { return ::qHash(type.code(), seed); }
