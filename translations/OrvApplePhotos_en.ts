<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="de_DE">
<context>
    <name>OrvPhotoKitDatabase</name>
    <message>
        <source>Alle Fotos</source>
        <translation>All Photos</translation>
    </message>
    <message>
        <source>Jahre</source>
        <translation>Years</translation>
    </message>
    <message>
        <source>Geteilte Alben</source>
        <comment>Shared Albums</comment>
        <translation>Shared Albums</translation>
    </message>
    <message>
        <source>Projekt</source>
        <comment>Project</comment>
        <translation>Projects</translation>
    </message>
    <message>
        <source>Zugriff auf Fotos Datenbank verweigert.
Überprüfen Sie die Datenschutz Systemeinstellungen.</source>
        <translation>Access to the Photos library was denied.
Check the privacy settings in System Settings.</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>&lt;b&gt;Fotos werden geladen&lt;/b&gt;</source>
        <translation>&lt;b&gt;Loading photos&lt;/b&gt;</translation>
    </message>
</context>
<context>
    <name>OrvIPhotoDatabase</name>
    <message>
        <source>iPhoto</source>
        <translation>iPhoto</translation>
    </message>
    <message>
        <source>Aperture</source>
        <translation>Aperture</translation>
    </message>
</context>
<context>
    <name>OrvFotoDatabaseType</name>
    <message>
        <source>Fotos</source>
        <translation>Photos</translation>
    </message>
    <message>
        <source>Kameras und Geräte</source>
        <translation>Cameras and Devices</translation>
    </message>
    <message>
        <source>Dateisystem</source>
        <translation>File System</translation>
    </message>
</context>
<context>
    <name>OrvFotoRetrieverInterfaceApplePhotos</name>
    <message>
        <source>&lt;b&gt;Fotos werden geladen&lt;/b&gt;</source>
        <translation>&lt;b&gt;Loading photos&lt;/b&gt;</translation>
    </message>
</context>
</TS>
