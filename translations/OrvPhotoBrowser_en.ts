<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="de_DE">
<context>
    <name>OrvAboutBox</name>
    <message>
        <source>Über orv-photos</source>
        <translation>About orv-photos</translation>
    </message>
    <message>
        <source>Die Fotos von iPhoto, Aperture, der Fotos-Mediathek und von Kameras, wie eine Anwendung sie zeigt.</source>
        <translation>The photos of iPhoto, Aperture, the Photos library and cameras, as an application shows them.</translation>
    </message>
    <message>
        <source>Quellen: %1</source>
        <translation>Sources: %1</translation>
    </message>
    <message>
        <source>keine</source>
        <translation>none</translation>
    </message>
    <message>
        <source>Mit Qt %1</source>
        <translation>Running on Qt %1</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>OrvBrowserWindow</name>
    <message>
        <source>Exportieren …</source>
        <translation>Export…</translation>
    </message>
    <message>
        <source>Beenden</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>Alle auswählen</source>
        <translation>Select All</translation>
    </message>
    <message>
        <source>Kopieren</source>
        <translation>Copy</translation>
    </message>
    <message>
        <source>Vergrößern</source>
        <translation>Zoom In</translation>
    </message>
    <message>
        <source>Verkleinern</source>
        <translation>Zoom Out</translation>
    </message>
    <message>
        <source>Normale Größe</source>
        <translation>Actual Size</translation>
    </message>
    <message>
        <source>Nach Aufnahmedatum</source>
        <translation>By Date Taken</translation>
    </message>
    <message>
        <source>Nach Name</source>
        <translation>By Name</translation>
    </message>
    <message>
        <source>Wie im Album</source>
        <translation>As in the Album</translation>
    </message>
    <message>
        <source>Details anzeigen</source>
        <translation>Show Details</translation>
    </message>
    <message>
        <source>Über orv-photos</source>
        <translation>About orv-photos</translation>
    </message>
    <message>
        <source>&amp;Datei</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>&amp;Bearbeiten</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>&amp;Ansicht</source>
        <translation>&amp;View</translation>
    </message>
    <message>
        <source>Sortieren</source>
        <translation>Sort</translation>
    </message>
    <message>
        <source>&amp;Hilfe</source>
        <translation>&amp;Help</translation>
    </message>
    <message>
        <source>Fotos</source>
        <translation>Photos</translation>
    </message>
    <message>
        <source>%1: wird geladen, bisher %2 Fotos</source>
        <translation>%1: loading, %2 photos so far</translation>
    </message>
    <message>
        <source>%1 von %2 Fotos ausgewählt</source>
        <translation>%1 of %2 photos selected</translation>
    </message>
    <message>
        <source>1 Foto</source>
        <translation>1 photo</translation>
    </message>
    <message>
        <source>%1 Fotos</source>
        <translation>%1 photos</translation>
    </message>
    <message>
        <source>1 Bild unterwegs</source>
        <translation>1 picture on the way</translation>
    </message>
    <message>
        <source>%1 Bilder unterwegs</source>
        <translation>%1 pictures on the way</translation>
    </message>
    <message>
        <source>%1 – %2</source>
        <translation>%1 – %2</translation>
    </message>
</context>
<context>
    <name>OrvExportController</name>
    <message>
        <source>%1 von %2 Fotos kopiert …</source>
        <translation>Copied %1 of %2 photos…</translation>
    </message>
    <message>
        <source>%1 von %2 Fotos exportiert …</source>
        <translation>Exported %1 of %2 photos…</translation>
    </message>
    <message>
        <source>Kopieren</source>
        <translation>Copy</translation>
    </message>
    <message>
        <source>Exportieren</source>
        <translation>Export</translation>
    </message>
    <message>
        <source>Abbrechen</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Wird nach diesem Foto abgebrochen …</source>
        <translation>Stopping after this photo…</translation>
    </message>
    <message>
        <source>Der Ordner %1 lässt sich nicht anlegen: %2</source>
        <translation>Cannot create the folder %1: %2</translation>
    </message>
    <message>
        <source>Kopieren abgebrochen: nichts in die Zwischenablage gelegt</source>
        <translation>Copy cancelled: nothing was put on the clipboard</translation>
    </message>
    <message>
        <source>1 Foto in die Zwischenablage kopiert</source>
        <translation>Copied 1 photo to the clipboard</translation>
    </message>
    <message>
        <source>%1 Fotos in die Zwischenablage kopiert</source>
        <translation>Copied %1 photos to the clipboard</translation>
    </message>
    <message>
        <source>Export abgebrochen: %1 von %2 Fotos nach %3 geschrieben</source>
        <translation>Export cancelled: %1 of %2 photos written to %3</translation>
    </message>
    <message>
        <source>%1 von %2 Fotos nach %3 exportiert</source>
        <translation>Exported %1 of %2 photos to %3</translation>
    </message>
</context>
<context>
    <name>OrvExportDialog</name>
    <message>
        <source>Originalgröße</source>
        <translation>Full size</translation>
    </message>
    <message>
        <source>Einpassen in</source>
        <translation>Fit into</translation>
    </message>
    <message>
        <source>Exportieren</source>
        <translation>Export</translation>
    </message>
    <message>
        <source>1 Foto exportieren</source>
        <translation>Export 1 Photo</translation>
    </message>
    <message>
        <source>%1 Fotos exportieren</source>
        <translation>Export %1 Photos</translation>
    </message>
    <message>
        <source>Auswählen …</source>
        <translation>Choose…</translation>
    </message>
    <message>
        <source> Pixel</source>
        <translation> pixels</translation>
    </message>
    <message>
        <source>Wie gespeichert</source>
        <translation>As stored</translation>
    </message>
    <message>
        <source>Ordner:</source>
        <translation>Folder:</translation>
    </message>
    <message>
        <source>Größe:</source>
        <translation>Size:</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>Format:</translation>
    </message>
    <message>
        <source>Abbrechen</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Ordner für die Fotos</source>
        <translation>Folder for the photos</translation>
    </message>
</context>
<context>
    <name>OrvFotoDetailsView</name>
    <message>
        <source>Aufgenommen: %1</source>
        <translation>Taken: %1</translation>
    </message>
    <message>
        <source>unbekannt</source>
        <translation>unknown</translation>
    </message>
    <message>
        <source>Größe: %1 × %2 Pixel</source>
        <translation>Size: %1 × %2 pixels</translation>
    </message>
    <message>
        <source>Bewertung: %1</source>
        <translation>Rating: %1</translation>
    </message>
    <message>
        <source>Bewertung: abgelehnt</source>
        <translation>Rating: rejected</translation>
    </message>
    <message>
        <source>Ort: %1, %2</source>
        <translation>Location: %1, %2</translation>
    </message>
    <message>
        <source>(ohne Namen)</source>
        <translation>(unnamed)</translation>
    </message>
    <message>
        <source>Gesichter: %1</source>
        <translation>Faces: %1</translation>
    </message>
</context>
</TS>
