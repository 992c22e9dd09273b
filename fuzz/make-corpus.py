#!/usr/bin/env python3
"""Writes the seed corpus of iphoto_parser_fuzzer into fuzz/corpus/iphoto:
small valid libraries and the damaged shapes real files and attackers bring."""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
CHECKOUT = os.path.dirname(HERE)
OUT = os.path.join(HERE, "corpus", "iphoto")

HEAD = ('<?xml version="1.0" encoding="UTF-8"?>\n'
        '<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" '
        '"http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n<plist version="1.0">\n')


def photo(key, path, media="Image", extra=""):
    return ("<key>%s</key><dict><key>ImagePath</key><string>%s</string>"
            "<key>ThumbPath</key><string>%s.thumb.jpg</string>"
            "<key>MediaType</key><string>%s</string>"
            "<key>DateAsTimerInterval</key><real>363953702.5</real>"
            "<key>Rating</key><integer>3</integer>%s</dict>\n" % (key, path, path, media, extra))


def library(albums="", photos="", faces=""):
    return (HEAD + "<dict>\n<key>List of Faces</key><dict>%s</dict>\n"
            "<key>List of Albums</key><array>%s</array>\n"
            "<key>Master Image List</key><dict>%s</dict>\n</dict>\n</plist>\n" % (faces, albums, photos))


def album(album_id, name, kind, keys):
    return ("<dict><key>AlbumId</key><integer>%s</integer><key>AlbumName</key><string>%s</string>"
            "<key>Album Type</key><string>%s</string><key>KeyList</key><array>%s</array></dict>\n"
            % (album_id, name, kind, "".join("<string>%s</string>" % k for k in keys)))


def face(key, rect):
    return ("<dict><key>face key</key><string>%s</string><key>face index</key><integer>0</integer>"
            "<key>rectangle</key><string>%s</string></dict>" % (key, rect))


def write(name, data):
    if isinstance(data, str):
        data = data.encode("utf-8")
    with open(os.path.join(OUT, name), "wb") as stream:
        stream.write(data)


def main():
    os.makedirs(OUT, exist_ok=True)
    generator = os.path.join(CHECKOUT, "scripts", "make-iphoto-library.py")
    for name, args in (("generated-iphoto.xml", ["--photos", "6", "--seed", "3"]),
                       ("generated-aperture.xml", ["--photos", "4", "--seed", "4", "--aperture"])):
        subprocess.run([sys.executable, generator, "--out", os.path.join(OUT, name)] + args, check=True)
    with open(os.path.join(CHECKOUT, "samples", "iphoto", "AlbumData.xml.in"), encoding="utf-8") as stream:
        write("sample-iphoto.xml", stream.read().replace("@SAMPLES@", "/Users/orv/Pictures/iPhoto Library"))

    faces = face("1", "{{0.25, 0.5}, {0.1, 0.15}}")
    persons = "<key>1</key><dict><key>name</key><string>Anna</string></dict><key>2</key><dict></dict>"
    basic = library(album(1, "Trip", "Regular", ["10", "11", "10"]) + album(2, "Events", "Event", ["11"]),
                    photo(10, "/p/IMG_1.JPG", extra="<key>Faces</key><array>%s</array>" % faces)
                    + photo(11, "/p/MVI_2.MOV", "Movie"), persons)
    write("basic.xml", basic)
    # Sections in the other order, and keys repeated.
    write("reordered.xml", HEAD + "<dict><key>Master Image List</key><dict>%s</dict>"
          "<key>List of Albums</key><array>%s</array><key>List of Albums</key><array/></dict></plist>"
          % (photo(5, "/a.jpg"), album(9, "A", "Smart", ["5"])))
    # Defects some iPhoto versions wrote: a bare "&" and NUL bytes.
    write("bare-ampersand.xml", library(album(3, "Tom & Jerry", "Regular", ["7"]),
                                        photo(7, "/Users/x/Fish & Chips/IMG_7.JPG")))
    write("nul-bytes.xml", library(album(3, "Nul\0Album", "Regular", ["7"]),
                                   photo(7, "/Users/x/IMG\0_7.JPG")).encode("utf-8"))
    # Nesting just inside and well beyond what the reader accepts.
    for name, depth in (("deep-nesting-900.xml", 900), ("deep-nesting-5000.xml", 5000)):
        write(name, library(album(4, "Deep", "Regular", [])[:-8] + "<array>" * depth + "<string>1</string>"
                            + "</array>" * depth + "</dict>", photo(1, "/d.jpg")))
    write("face-rectangles.xml", library("", photo(1, "/f.jpg", extra="<key>Faces</key><array>%s</array>" % "".join(
        face(k, r) for k, r in (("1", "{{0.0, 0.0}, {1.0, 1.0}}"), ("2", "{{0, 0}, {1, 1}}"),
                                ("3", "{ {0.1, 0.2}, {0.3, 0.4} }"), ("4", "{{-0.1, 1e3}, {0,5, 0.2}}"),
                                ("5", "{{ 0.1 ,0.2}\t,\n{0.3,   0.4 }}"), ("", "{{0.1, 0.2}, {0.3, 0.4}}"))))))
    write("numbers.xml", library("", "".join(
        "<key>%d</key><dict><key>MediaType</key><string>Image</string><key>ImagePath</key><string>/n%d.jpg</string>"
        "<key>DateAsTimerInterval</key><real>%s</real><key>Rating</key><real>%s</real></dict>" % (i, i, d, r)
        for i, (d, r) in enumerate((("0", "4.7"), ("86399.9", "x"), ("-1e300", "1e300"), ("nan", "-inf"),
                                    ("9223372036854775808", "2147483648"), ("", " 3 "))))))
    write("markup-in-text.xml", HEAD + "<dict><key>Master <!-- x -->Image List</key><dict>"
          "<key>1</key><dict><key>MediaType</key><string><![CDATA[Image]]></string>"
          "<key>ImagePath</key><string>/c&#x2F;&amp;&lt;.jpg</string></dict></dict>"
          "<key><?pi ?>List of Albums</key><array><dict><key>AlbumId</key><string>1<b/>2</string></dict></array>"
          "</dict></plist>")
    write("entities.xml", '<?xml version="1.0"?>\n<!DOCTYPE plist [<!ENTITY a "aaaaaaaaaa">'
          '<!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;"><!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;">]>'
          "<plist><dict><key>Master Image List</key><dict><key>1</key><dict><key>MediaType</key>"
          "<string>Image</string><key>ImagePath</key><string>&c;</string></dict></dict></dict></plist>")
    write("utf16.xml", "\ufeff" .encode("utf-16-le") + basic.replace('encoding="UTF-8"', 'encoding="UTF-16"')
          .encode("utf-16-le"))
    write("truncated.xml", basic[: len(basic) // 2])
    write("odd-shapes.xml", HEAD + "<dict><key>List of Albums</key><string>no</string><key>List of Faces</key>"
          "<key>Master Image List</key><array><dict/></array><key>Master Image List</key></dict></plist>")
    write("empty.xml", b"")
    write("not-a-plist.xml", "<html><body>AlbumData</body></html>")
    print("corpus in", OUT)


if __name__ == "__main__":
    main()
