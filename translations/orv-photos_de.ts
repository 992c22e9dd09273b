<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>OrvCommandLine</name>
    <message>
        <source>not supported for this program (on Linux it needs an installed desktop file that declares MimeType x-content/image-dcf)</source>
        <translation>für dieses Programm nicht möglich (unter Linux braucht es eine installierte Desktop-Datei mit MimeType x-content/image-dcf)</translation>
    </message>
    <message>
        <source>no camera connected</source>
        <translation>keine Kamera angeschlossen</translation>
    </message>
    <message>
        <source>--select takes the number of a photo, from 0</source>
        <translation>--select nimmt die Nummer eines Fotos, ab 0</translation>
    </message>
    <message>
        <source>--size takes WIDTHxHEIGHT, at least 200x200</source>
        <translation>--size nimmt BREITExHÖHE, mindestens 200x200</translation>
    </message>
    <message>
        <source>--album needs --source</source>
        <translation>--album braucht --source</translation>
    </message>
    <message>
        <source>--screenshot needs a file name</source>
        <translation>--screenshot braucht einen Dateinamen</translation>
    </message>
    <message>
        <source>it exists, give a new name</source>
        <translation>sie gibt es schon, bitte einen neuen Namen</translation>
    </message>
    <message>
        <source>no file name</source>
        <translation>kein Dateiname</translation>
    </message>
    <message>
        <source>cannot write %1: %2</source>
        <translation>kann %1 nicht schreiben: %2</translation>
    </message>
    <message>
        <source>cannot open album %1 in %2</source>
        <translation>kann das Album %1 in %2 nicht öffnen</translation>
    </message>
    <message>
        <source>saved %1</source>
        <translation>%1 gespeichert</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>simuliert</translation>
    </message>
    <message>
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Anschluss</translation>
    </message>
    <message>
        <source>--size takes a positive number or full, not %1</source>
        <translation>--size nimmt eine positive Zahl oder full, nicht %1</translation>
    </message>
    <message>
        <source>--out needs a folder</source>
        <translation>--out braucht einen Ordner</translation>
    </message>
    <message>
        <source>cannot create %1: %2</source>
        <translation>kann %1 nicht anlegen: %2</translation>
    </message>
    <message>
        <source>cannot write into %1: %2</source>
        <translation>kann nicht in %1 schreiben: %2</translation>
    </message>
    <message>
        <source>nothing for %1</source>
        <translation>nichts für %1</translation>
    </message>
    <message>
        <source>wrote %1 of %2 to %3</source>
        <translation>%1 von %2 nach %3 geschrieben</translation>
    </message>
    <message>
        <source>%1 is no folder</source>
        <translation>%1 ist kein Ordner</translation>
    </message>
    <message>
        <source>1 entry</source>
        <translation>1 Eintrag</translation>
    </message>
    <message>
        <source>%1 entries</source>
        <translation>%1 Einträge</translation>
    </message>
    <message>
        <source>cannot read %1: %2</source>
        <translation>kann %1 nicht lesen: %2</translation>
    </message>
    <message>
        <source>no converter for %1</source>
        <translation>kein Konverter für %1</translation>
    </message>
    <message>
        <source>cannot read %1: no Photos asset in it</source>
        <translation>kann %1 nicht lesen: kein Foto aus Fotos darin</translation>
    </message>
    <message>
        <source>not in %1</source>
        <translation>nicht in %1</translation>
    </message>
    <message>
        <source>type %1</source>
        <translation>Typ %1</translation>
    </message>
    <message>
        <source>shown</source>
        <translation>sichtbar</translation>
    </message>
    <message>
        <source>hidden</source>
        <translation>verborgen</translation>
    </message>
    <message>
        <source>no photo sources registered</source>
        <translation>keine Fotoquellen registriert</translation>
    </message>
    <message>
        <source>Libraries</source>
        <translation>Mediatheken</translation>
    </message>
    <message>
        <source>Cameras</source>
        <translation>Kameras</translation>
    </message>
    <message>
        <source>Program</source>
        <translation>Programm</translation>
    </message>
    <message>
        <source>the source, by its service id (the command sources lists them)</source>
        <translation>die Quelle, mit ihrer Dienstkennung (der Befehl sources nennt sie)</translation>
    </message>
    <message>
        <source>print JSON instead of text</source>
        <translation>JSON statt Text ausgeben</translation>
    </message>
    <message>
        <source>the iPhoto library: its folder or its AlbumData.xml (default: the preference XMLDataFilePath or RootDirectory in $XDG_CONFIG_HOME/apple/iphoto.conf)</source>
        <translation>die iPhoto-Mediathek: ihr Ordner oder ihre AlbumData.xml (sonst die Einstellung XMLDataFilePath oder RootDirectory in $XDG_CONFIG_HOME/apple/iphoto.conf)</translation>
    </message>
    <message>
        <source>the Aperture library: its folder or its ApertureData.xml (default: the preference XMLDataFilePath or RootDirectory in $XDG_CONFIG_HOME/apple/aperture.conf)</source>
        <translation>die Aperture-Mediathek: ihr Ordner oder ihre ApertureData.xml (sonst die Einstellung XMLDataFilePath oder RootDirectory in $XDG_CONFIG_HOME/apple/aperture.conf)</translation>
    </message>
    <message>
        <source>a photo list file exported by another program</source>
        <translation>eine Fotolisten-Datei, die ein anderes Programm exportiert hat</translation>
    </message>
    <message>
        <source>simulated cameras and devices (JSON, platform/sim/README.md) instead of the connected ones</source>
        <translation>simulierte Kameras und Geräte (JSON, platform/sim/README.md) statt der angeschlossenen</translation>
    </message>
    <message>
        <source>a camera that detection cannot see, as gphoto2 names it (repeatable), e.g. --camera &quot;Directory Browse=disk:/path/to/folder&quot;</source>
        <translation>eine Kamera, die die Erkennung nicht sieht, so benannt wie bei gphoto2 (wiederholbar), z. B. --camera &quot;Directory Browse=disk:/pfad/zum/ordner&quot;</translation>
    </message>
    <message>
        <source>the language of everything shown: messages, album names, dates (default: de on a German system, en otherwise)</source>
        <translation>die Sprache alles Gezeigten: Meldungen, Albennamen, Daten (sonst de auf einem deutschen System, en auf anderen)</translation>
    </message>
    <message>
        <source>the host wants photos only: the sources leave movies out</source>
        <translation>der Host will nur Fotos: die Quellen lassen Filme weg</translation>
    </message>
    <message>
        <source>pretend to run on another system, e.g. macos:14.0 or macos:10.14.6</source>
        <translation>so tun, als liefe das Programm auf einem anderen System, z. B. macos:14.0 oder macos:10.14.6</translation>
    </message>
    <message>
        <source>the host program id the plug-in sees (default 8)</source>
        <translation>die Kennung des Host-Programms, die das Plug-in sieht (sonst 8)</translation>
    </message>
    <message>
        <source>the plug-in library (default: $ORV_PLUGIN_PATH, else the one in ../lib beside the program)</source>
        <translation>die Plug-in-Bibliothek (sonst $ORV_PLUGIN_PATH, sonst die in ../lib neben dem Programm)</translation>
    </message>
    <message>
        <source>show the sources&apos; debug lines</source>
        <translation>die Debug-Zeilen der Quellen zeigen</translation>
    </message>
    <message>
        <source>this help; after a command, the command&apos;s help</source>
        <translation>diese Hilfe; nach einem Befehl die Hilfe des Befehls</translation>
    </message>
    <message>
        <source>the program&apos;s version</source>
        <translation>die Version des Programms</translation>
    </message>
    <message>
        <source>the manual page, as roff</source>
        <translation>die Handbuchseite, als roff</translation>
    </message>
    <message>
        <source>a completion script for the shell</source>
        <translation>ein Vervollständigungsskript für die Shell</translation>
    </message>
    <message>
        <source>the registered photo sources</source>
        <translation>die registrierten Fotoquellen</translation>
    </message>
    <message>
        <source>Lists the sources the plug-in registered: type code, service id, name, and whether the source wants to be shown.</source>
        <translation>Listet die Quellen, die das Plug-in registriert hat: Typ, Dienstkennung, Name und ob die Quelle gezeigt werden will.</translation>
    </message>
    <message>
        <source>every album and photo of one or all sources</source>
        <translation>alle Alben und Fotos einer oder aller Quellen</translation>
    </message>
    <message>
        <source>Starts the sources, opens every album and prints each source&apos;s albums as a tree with their number of photos; --json prints albums and photos in the form the README describes. A library source that found no library says where it looked.</source>
        <translation>Startet die Quellen, öffnet jedes Album und gibt die Alben jeder Quelle als Baum mit ihrer Anzahl Fotos aus; --json gibt Alben und Fotos in der Form aus, die die README beschreibt. Eine Mediatheksquelle, die keine Mediathek fand, sagt, wo sie gesucht hat.</translation>
    </message>
    <message>
        <source>wait up to SECONDS for devices and their catalogues</source>
        <translation>bis zu SEKUNDEN auf Geräte und ihre Kataloge warten</translation>
    </message>
    <message>
        <source>write an album&apos;s photos into a folder</source>
        <translation>die Fotos eines Albums in einen Ordner schreiben</translation>
    </message>
    <message>
        <source>the album, by its name or its id URL</source>
        <translation>das Album, mit seinem Namen oder seiner Kennungs-URL</translation>
    </message>
    <message>
        <source>N: pixels that fit into N by N; full: the photo&apos;s file</source>
        <translation>N: Pixel, die in N mal N passen; full: die Datei des Fotos</translation>
    </message>
    <message>
        <source>how the pixels are written; original keeps PNG as PNG and writes the rest as JPEG, or with --size full the stored bytes</source>
        <translation>wie die Pixel geschrieben werden; original lässt PNG als PNG und schreibt den Rest als JPEG, mit --size full die gespeicherten Bytes</translation>
    </message>
    <message>
        <source>the folder to write into (made if missing)</source>
        <translation>der Ordner, in den geschrieben wird (angelegt, wenn er fehlt)</translation>
    </message>
    <message>
        <source>the cameras connected, with model and port</source>
        <translation>die angeschlossenen Kameras, mit Modell und Anschluss</translation>
    </message>
    <message>
        <source>Lists the cameras connected now, as gphoto2 --auto-detect does, and those named with --camera; with --devices the simulated ones.</source>
        <translation>Listet die jetzt angeschlossenen Kameras, wie gphoto2 --auto-detect, und die mit --camera genannten; mit --devices die simulierten.</translation>
    </message>
    <message>
        <source>first wait SECONDS for cameras to arrive</source>
        <translation>erst SEKUNDEN lang warten, bis Kameras ankommen</translation>
    </message>
    <message>
        <source>a window with the sources, an album&apos;s thumbnails and a photo&apos;s details</source>
        <translation>ein Fenster mit den Quellen, den Vorschaubildern eines Albums und den Details eines Fotos</translation>
    </message>
    <message>
        <source>Opens the photo browser. With --screenshot it opens the album named by --source and --album, waits for the visible thumbnails, saves the window as PNG and exits.</source>
        <translation>Öffnet den Fotobrowser. Mit --screenshot öffnet er das mit --source und --album genannte Album, wartet auf die sichtbaren Vorschaubilder, speichert das Fenster als PNG und endet.</translation>
    </message>
    <message>
        <source>the album to open (needs --source)</source>
        <translation>das zu öffnende Album (braucht --source)</translation>
    </message>
    <message>
        <source>select the N-th photo of the album, from 0, and show its details</source>
        <translation>das N-te Foto des Albums auswählen, ab 0, und seine Details zeigen</translation>
    </message>
    <message>
        <source>save the window as PNG into this new file and exit</source>
        <translation>das Fenster als PNG in diese neue Datei speichern und enden</translation>
    </message>
    <message>
        <source>the window&apos;s size (default 1280x800)</source>
        <translation>die Größe des Fensters (sonst 1280x800)</translation>
    </message>
    <message>
        <source>whether plugging in a camera starts this program</source>
        <translation>ob das Anschließen einer Kamera dieses Programm startet</translation>
    </message>
    <message>
        <source>Shows for each connected camera whether plugging it in starts this program; on or off sets it.</source>
        <translation>Zeigt für jede angeschlossene Kamera, ob ihr Anschließen dieses Programm startet; on oder off stellt es ein.</translation>
    </message>
    <message>
        <source>wait up to SECONDS for cameras (default 5)</source>
        <translation>bis zu SEKUNDEN auf Kameras warten (sonst 5)</translation>
    </message>
    <message>
        <source>a folder&apos;s entries with kind, permissions and date</source>
        <translation>die Einträge eines Ordners mit Art, Rechten und Datum</translation>
    </message>
    <message>
        <source>Lists a folder&apos;s entries as ls -l shows kind and the owner&apos;s permissions; photokitfs: paths go through the plug-in&apos;s file engine (with --program-id 8).</source>
        <translation>Listet die Einträge eines Ordners, mit Art und Rechten des Besitzers wie bei ls -l; photokitfs:-Pfade gehen durch die Datei-Engine des Plug-ins (mit --program-id 8).</translation>
    </message>
    <message>
        <source>a drop of Photos assets: the URLs it gives and the photos they name</source>
        <translation>ein Ablegen von Fotos aus Fotos: die URLs, die es ergibt, und die Fotos, die sie nennen</translation>
    </message>
    <message>
        <source>Reads one property list file per dropped item, converts them as a drop from Photos is converted and prints the URLs and the photos they name.</source>
        <translation>Liest eine Property-List-Datei je abgelegtem Objekt, wandelt sie wie ein Ablegen aus Fotos um und gibt die URLs und die Fotos aus, die sie nennen.</translation>
    </message>
    <message>
        <source>the help of the program or of a command</source>
        <translation>die Hilfe des Programms oder eines Befehls</translation>
    </message>
    <message>
        <source>Shows the help of COMMAND, or of the program.</source>
        <translation>Zeigt die Hilfe von COMMAND oder des Programms.</translation>
    </message>
    <message>
        <source>--wait takes a number of seconds (at most 3600)</source>
        <translation>--wait nimmt eine Anzahl Sekunden (höchstens 3600)</translation>
    </message>
    <message>
        <source>1 photo</source>
        <translation>1 Foto</translation>
    </message>
    <message>
        <source>%1 photos</source>
        <translation>%1 Fotos</translation>
    </message>
    <message>
        <source>no source %1 (sources: %2)</source>
        <translation>keine Quelle %1 (Quellen: %2)</translation>
    </message>
    <message>
        <source>no source %1; did you mean %2?</source>
        <translation>keine Quelle %1; war %2 gemeint?</translation>
    </message>
    <message>
        <source>no album %1 in %2</source>
        <translation>kein Album %1 in %2</translation>
    </message>
    <message>
        <source>; did you mean %1?</source>
        <translation>; war %1 gemeint?</translation>
    </message>
    <message>
        <source>%1 or %2</source>
        <translation>%1 oder %2</translation>
    </message>
    <message>
        <source>no command given (one of %1; --help says more)</source>
        <translation>kein Befehl angegeben (einer von %1; --help sagt mehr)</translation>
    </message>
    <message>
        <source>unknown command %1</source>
        <translation>unbekannter Befehl %1</translation>
    </message>
    <message>
        <source>unknown option %1</source>
        <translation>unbekannte Option %1</translation>
    </message>
    <message>
        <source>%1 needs a value (%1 %2)</source>
        <translation>%1 braucht einen Wert (%1 %2)</translation>
    </message>
    <message>
        <source>%1 takes no value</source>
        <translation>%1 nimmt keinen Wert</translation>
    </message>
    <message>
        <source>%1 takes %2, not %3</source>
        <translation>%1 nimmt %2, nicht %3</translation>
    </message>
    <message>
        <source>%1 %2 is missing</source>
        <translation>%1 %2 fehlt</translation>
    </message>
    <message>
        <source>%1 is missing</source>
        <translation>%1 fehlt</translation>
    </message>
    <message>
        <source>unexpected argument %1</source>
        <translation>unerwartetes Argument %1</translation>
    </message>
    <message>
        <source>unexpected argument %1 (arguments: %2)</source>
        <translation>unerwartetes Argument %1 (Argumente: %2)</translation>
    </message>
    <message>
        <source>this help</source>
        <translation>diese Hilfe</translation>
    </message>
    <message>
        <source>--program-id takes a number, not %1</source>
        <translation>--program-id nimmt eine Zahl, nicht %1</translation>
    </message>
    <message>
        <source>unknown system %1 (use e.g. macos:14.0)</source>
        <translation>unbekanntes System %1 (z. B. macos:14.0)</translation>
    </message>
    <message>
        <source>--camera: unknown camera model %1 (gphoto2 --list-cameras lists them)</source>
        <translation>--camera: unbekanntes Kameramodell %1 (gphoto2 --list-cameras listet sie)</translation>
    </message>
    <message>
        <source>--camera: unknown camera model %1; did you mean %2?</source>
        <translation>--camera: unbekanntes Kameramodell %1; war %2 gemeint?</translation>
    </message>
    <message>
        <source>--camera: Unknown port %1 (a port begins with usb:, disk:, serial:, ptpip: or ip:)</source>
        <translation>--camera: unbekannter Anschluss %1 (ein Anschluss beginnt mit usb:, disk:, serial:, ptpip: oder ip:)</translation>
    </message>
    <message>
        <source>--camera: no camera %1 at %2 (the folder must exist, hold something and not be /)</source>
        <translation>--camera: keine Kamera %1 an %2 (der Ordner muss existieren, etwas enthalten und darf nicht / sein)</translation>
    </message>
    <message>
        <source>--camera: cannot open %1 at %2: %3</source>
        <translation>--camera: kann %1 an %2 nicht öffnen: %3</translation>
    </message>
    <message>
        <source>--camera takes MODEL=PORT, e.g. &quot;Directory Browse=disk:/path&quot;, not %1</source>
        <translation>--camera nimmt MODELL=ANSCHLUSS, z. B. &quot;Directory Browse=disk:/pfad&quot;, nicht %1</translation>
    </message>
    <message>
        <source>--camera names a camera for libgphoto2, and --devices puts simulated devices in its place: give one of them</source>
        <translation>--camera nennt eine Kamera für libgphoto2, und --devices setzt simulierte Geräte an ihre Stelle: bitte nur eines davon</translation>
    </message>
    <message>
        <source>--camera: no camera %1 at %2</source>
        <translation>--camera: keine Kamera %1 an %2</translation>
    </message>
    <message>
        <source>--camera needs libgphoto2, which this build does not have</source>
        <translation>--camera braucht libgphoto2, das dieser Build nicht hat</translation>
    </message>
    <message>
        <source>is a folder</source>
        <translation>ist ein Ordner</translation>
    </message>
    <message>
        <source>not a regular file</source>
        <translation>keine normale Datei</translation>
    </message>
    <message>
        <source>no such file</source>
        <translation>keine solche Datei</translation>
    </message>
    <message>
        <source>cannot load plug-in %1: %2</source>
        <translation>kann das Plug-in %1 nicht laden: %2</translation>
    </message>
    <message>
        <source>%1 registered no initializer</source>
        <translation>%1 hat keinen Initialisierer registriert</translation>
    </message>
    <message>
        <source>--dialog needs --screenshot</source>
        <translation>--dialog braucht --screenshot</translation>
    </message>
    <message>
        <source>sources still busy after %1 s without news; printing what arrived</source>
        <translation>Quellen nach %1 s ohne Neues noch beschäftigt; es folgt, was angekommen ist</translation>
    </message>
    <message>
        <source>the Photos library: a .photoslibrary folder, read as Photos wrote it and never changed (default: ~/Pictures/Photos Library.photoslibrary when there is one), or a simulated library&apos;s description (JSON, platform/sim/README.md); the PhotoKit source shows it from macOS 10.15 on (see --os), the MediaLibrary source applephotos a description before</source>
        <translation>die Fotos-Mediathek: ein .photoslibrary-Ordner, gelesen, wie Fotos ihn schrieb, und nie verändert (Vorgabe: ~/Pictures/Photos Library.photoslibrary, wenn es sie gibt), oder die Beschreibung einer simulierten Mediathek (JSON, platform/sim/README.md); die PhotoKit-Quelle zeigt sie ab macOS 10.15 (siehe --os), die MediaLibrary-Quelle applephotos davor eine Beschreibung</translation>
    </message>
    <message>
        <source>with --screenshot: that dialog open over the window</source>
        <translation>mit --screenshot: dieser Dialog geöffnet über dem Fenster</translation>
    </message>
    <message>
        <source>cannot read the Photos library %1: %2</source>
        <translation>Fotos-Mediathek %1 nicht lesbar: %2</translation>
    </message>
    <message>
        <source>this build cannot read Photos library packages (%1)</source>
        <translation>dieser Build kann keine Fotos-Mediatheken lesen (%1)</translation>
    </message>
    <message>
        <source>%1 is no Photos library description</source>
        <translation>%1 ist keine Beschreibung einer Fotos-Mediathek</translation>
    </message>
    <message>
        <source>wrote %1 (%2 of %3)</source>
        <translation>%1 geschrieben (%2 von %3)</translation>
    </message>
    <message>
        <source>skipped %1, it is there already (%2 of %3)</source>
        <translation>%1 übersprungen, schon vorhanden (%2 von %3)</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>%1 photos/s</source>
        <translation>%1 Fotos/s</translation>
    </message>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <source>; %1 skipped, there already</source>
        <translation>; %1 übersprungen, schon vorhanden</translation>
    </message>
    <message>
        <source>no free name for %1</source>
        <translation>kein freier Name für %1</translation>
    </message>
    <message>
        <source>%1 → %2 (there already, skipped)</source>
        <translation>%1 → %2 (schon vorhanden, übersprungen)</translation>
    </message>
    <message>
        <source>%1 → %2</source>
        <translation>%1 → %2</translation>
    </message>
    <message>
        <source>would write %1 of %2 to %3</source>
        <translation>würde %1 von %2 nach %3 schreiben</translation>
    </message>
    <message>
        <source>interrupted</source>
        <translation>unterbrochen</translation>
    </message>
    <message>
        <source>Writes the photos of one album into DIR through the source&apos;s retrievers, with new names where a name is taken. Exit status: 0 all written, 1 a mistake in what was asked (source, album, argument), 2 some photos could not be written, 130 interrupted (SIGINT or SIGTERM: the photos being written are finished, no new one is begun). Shows a line per photo, on a terminal a progress bar.</source>
        <translation>Schreibt die Fotos eines Albums über die Retriever der Quelle nach DIR, mit neuen Namen, wo ein Name vergeben ist. Rückgabewert: 0 alle geschrieben, 1 ein Fehler im Auftrag (Quelle, Album, Argument), 2 einige Fotos konnten nicht geschrieben werden, 130 unterbrochen (SIGINT oder SIGTERM: die Fotos, die gerade geschrieben werden, werden fertig, kein neues wird begonnen). Zeigt eine Zeile je Foto, im Terminal einen Fortschrittsbalken.</translation>
    </message>
    <message>
        <source>leave out a photo whose file is in DIR already under the name it would be written under (counted as skipped): with --size full --format original when that file has the size of the one fetched, otherwise by the name alone, before fetching</source>
        <translation>ein Foto auslassen, dessen Datei unter dem Namen, den es bekäme, schon in DIR liegt (als übersprungen gezählt): mit --size full --format original, wenn diese Datei so groß ist wie die geholte, sonst allein nach dem Namen, vor dem Holen</translation>
    </message>
    <message>
        <source>print what would be written (the source&apos;s name, the name in DIR) and the counts; write nothing and make no folder</source>
        <translation>ausgeben, was geschrieben würde (der Name in der Quelle, der Name in DIR), und die Anzahlen; nichts schreiben und keinen Ordner anlegen</translation>
    </message>
    <message>
        <source>a camera&apos;s place needs --plugged-in</source>
        <translation>der Ort einer Kamera braucht --plugged-in</translation>
    </message>
    <message>
        <source>--plugged-in shows a camera: no --source</source>
        <translation>--plugged-in zeigt eine Kamera: kein --source</translation>
    </message>
    <message>
        <source>showing %1</source>
        <translation>zeige %1</translation>
    </message>
    <message>
        <source>no camera came within %1 seconds</source>
        <translation>in %1 Sekunden kam keine Kamera</translation>
    </message>
    <message>
        <source>open the album of the camera just plugged in, as soon as it appears (up to a minute): the camera at PLACE (a mounted card&apos;s folder or its file: URL, as the desktop passes it; served as a Directory Browse camera), else the one --album names, else the first</source>
        <translation>das Album der eben angeschlossenen Kamera öffnen, sobald sie erscheint (bis zu einer Minute): die Kamera an PLACE (der Ordner einer eingehängten Karte oder seine file:-URL, wie die Arbeitsumgebung sie übergibt; als Directory-Browse-Kamera bereitgestellt), sonst die mit --album genannte, sonst die erste</translation>
    </message>
</context>
<context>
    <name>OrvLibraryLocations</name>
    <message>
        <source>not found: %1</source>
        <translation>nicht gefunden: %1</translation>
    </message>
    <message>
        <source>%1: a file name with ~ cannot be handed on; give the folder with %2 in it</source>
        <translation>%1: ein Dateiname mit ~ lässt sich nicht weitergeben; bitte den Ordner mit %2 darin angeben</translation>
    </message>
    <message>
        <source>cannot make a folder for this run&apos;s preferences: %1</source>
        <translation>kann keinen Ordner für die Einstellungen dieses Laufs anlegen: %1</translation>
    </message>
    <message>
        <source>cannot hand %1 on</source>
        <translation>kann %1 nicht weitergeben</translation>
    </message>
    <message>
        <source>cannot write this run&apos;s preferences into %1</source>
        <translation>kann die Einstellungen dieses Laufs nicht nach %1 schreiben</translation>
    </message>
    <message>
        <source>no photos in %1</source>
        <translation>keine Fotos in %1</translation>
    </message>
    <message>
        <source>not found: %1 (named by %2)</source>
        <translation>nicht gefunden: %1 (genannt von %2)</translation>
    </message>
    <message>
        <source>not found: %1 (named by %2 in %3)</source>
        <translation>nicht gefunden: %1 (genannt von %2 in %3)</translation>
    </message>
    <message>
        <source>not found: %1 (the current folder: name the library with %2, or with %3 in %4)</source>
        <translation>nicht gefunden: %1 (der aktuelle Ordner: die Mediathek mit %2 nennen oder mit %3 in %4)</translation>
    </message>
</context>
<context>
    <name>OrvUsage</name>
    <message>
        <source>Exit status: 0 done; 1 a mistake in what was asked (an option, a source, an album, a camera); 2 the plug-in could not be loaded, or some of the work could not be done.</source>
        <translation>Rückgabewert: 0 erledigt; 1 ein Fehler im Auftrag (eine Option, eine Quelle, ein Album, eine Kamera); 2 das Plug-in ließ sich nicht laden, oder ein Teil der Arbeit ließ sich nicht tun.</translation>
    </message>
    <message>
        <source>usage:</source>
        <translation>Aufruf:</translation>
    </message>
    <message>
        <source>Options:</source>
        <translation>Optionen:</translation>
    </message>
    <message>
        <source>The global options (orv-photos --help) go before or after the command.</source>
        <translation>Die globalen Optionen (orv-photos --help) stehen vor oder nach dem Befehl.</translation>
    </message>
    <message>
        <source>Photos from Apple&apos;s photo software (Photos, iPhoto, Aperture) and from cameras, through the plug-in libOrvApplePhotos.</source>
        <translation>Fotos aus Apples Fotoprogrammen (Fotos, iPhoto, Aperture) und von Kameras, über das Plug-in libOrvApplePhotos.</translation>
    </message>
    <message>
        <source>Commands:</source>
        <translation>Befehle:</translation>
    </message>
    <message>
        <source>Options go before or after the command; orv-photos COMMAND --help shows a command&apos;s own.</source>
        <translation>Optionen stehen vor oder nach dem Befehl; orv-photos BEFEHL --help zeigt die eines Befehls.</translation>
    </message>
    <message>
        <source>User Commands</source>
        <translation>Benutzerbefehle</translation>
    </message>
    <message>
        <source>NAME</source>
        <translation>NAME</translation>
    </message>
    <message>
        <source>photos from Apple&apos;s photo software and from cameras</source>
        <translation>Fotos aus Apples Fotoprogrammen und von Kameras</translation>
    </message>
    <message>
        <source>SYNOPSIS</source>
        <translation>ÜBERSICHT</translation>
    </message>
    <message>
        <source>DESCRIPTION</source>
        <translation>BESCHREIBUNG</translation>
    </message>
    <message>
        <source>COMMANDS</source>
        <translation>BEFEHLE</translation>
    </message>
    <message>
        <source>OPTIONS</source>
        <translation>OPTIONEN</translation>
    </message>
    <message>
        <source>EXIT STATUS</source>
        <translation>RÜCKGABEWERT</translation>
    </message>
    <message>
        <source>ENVIRONMENT</source>
        <translation>UMGEBUNG</translation>
    </message>
    <message>
        <source>the plug-in library, where --plugin names none</source>
        <translation>die Plug-in-Bibliothek, wo --plugin keine nennt</translation>
    </message>
    <message>
        <source>the folder of the iPhoto and Aperture preferences (default ~/.config)</source>
        <translation>der Ordner der Einstellungen von iPhoto und Aperture (sonst ~/.config)</translation>
    </message>
    <message>
        <source>FILES</source>
        <translation>DATEIEN</translation>
    </message>
    <message>
        <source>the preferences of iPhoto and Aperture: XMLDataFilePath names the library file, RootDirectory the library folder</source>
        <translation>die Einstellungen von iPhoto und Aperture: XMLDataFilePath nennt die Mediatheksdatei, RootDirectory den Mediatheksordner</translation>
    </message>
    <message>
        <source>SEE ALSO</source>
        <translation>SIEHE AUCH</translation>
    </message>
    <message>
        <source>show the help</source>
        <translation>die Hilfe zeigen</translation>
    </message>
    <message>
        <source>Options go before or after the command.</source>
        <translation>Optionen stehen vor oder nach dem Befehl.</translation>
    </message>
</context>
</TS>
