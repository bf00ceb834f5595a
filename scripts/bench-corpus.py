#!/usr/bin/env python3
"""Makes the XML files that `make bench` measures on, from files that Debian packages bring.

  bench-corpus.py FOLDER

FOLDER/files   one file of each kind, and mixed.xml, 100 MB of all kinds
FOLDER/series  mixed files that double in size up to 100 MB; each is the beginning of the next
FOLDER/small   files of 16 KB and less

scripts/setup.sh bench installs the packages. The same packages give the same bytes. Does nothing when all is there.
"""
import gzip
import hashlib
import pathlib
import re
import shutil
import sys
import xml.parsers.expat

VERSION = "3"  # change it when the output changes
MB = 1_000_000
MIXED_BYTES = 100 * MB
SERIES_STEPS = 7  # 100 MB, halved so often
MOST_UNIT_BYTES = 200_000  # larger pieces would make the short mixed files unlike the long ones

SHARE = pathlib.Path("/usr/share")
GIR = SHARE / "gir-1.0"
MIME = SHARE / "mime/packages/freedesktop.org.xml"
KANJI = SHARE / "edict/kanjidic2.xml.gz"
LOCALES = SHARE / "unicode/cldr/common/main"
HANDBOOK = SHARE / "doc/debian-handbook/html"
CLIPART = SHARE / "openclipart/svg"

SMALL = {
    "declaration.gir": GIR / "DBus-1.0.gir",
    "locale.xml": LOCALES / "af_NA.xml",
    "locale-larger.xml": LOCALES / "de_AT.xml",
    "icon.svg": CLIPART / "computer/icons/flat-theme/action/14_ellipse.svg",
    "drawing.svg": CLIPART / "computer/icons/flat-theme/action/14_layer_novisible.svg",
    "page.html": HANDBOOK / "en-US/case-study.html",
}


def read(path):
    data = path.read_bytes()
    return gzip.decompress(data) if path.suffix == ".gz" else data


def is_plain(data):
    """No other encoding than UTF-8, and no entities of its own: pieces of it mean the same in another document."""
    head = data[:4096]
    encoding = re.search(rb"<\?xml[^>]*encoding=[\"']([^\"']*)", head)
    return (not encoding or encoding[1].lower() == b"utf-8") and b"<!ENTITY" not in head


def pieces(data, depth, namespaces):
    """The elements at `depth` (0 is the root), each with what follows it; notes the namespaces that they need."""
    parser = xml.parsers.expat.ParserCreate()
    level = 0
    cuts = []
    found = []

    def start(_, attributes):
        nonlocal level
        if level < depth:
            namespaces.update({k: v for k, v in attributes.items() if k == "xmlns" or k.startswith("xmlns:")})
        if level == depth:
            cuts.append(parser.CurrentByteIndex)
        level += 1

    def end(_):
        nonlocal level
        level -= 1
        if level == depth - 1 or level == 0:
            last = parser.CurrentByteIndex
            if depth == 0:
                last = data.index(b">", last) + 1
            found.extend(data[a:b] for a, b in zip(cuts, cuts[1:] + [last]))
            cuts.clear()

    parser.StartElementHandler = start
    parser.EndElementHandler = end
    parser.Parse(data, True)
    return found


def shuffled(paths):
    """In an order that is always the same and mixes the folders."""
    return sorted(paths, key=lambda path: hashlib.sha1(str(path).encode()).digest())


def whole_files(paths):
    for path in shuffled(paths):
        data = read(path)
        if is_plain(data):
            yield from pieces(data, 0, {})


def units_of_files(paths, namespaces):
    """Whole files; of large ones the pieces."""
    for path in shuffled(paths):
        data = read(path)
        if is_plain(data):
            units = pieces(data, 0 if len(data) <= MOST_UNIT_BYTES else 1, namespaces)
            yield from (unit for unit in units if len(unit) <= MOST_UNIT_BYTES)


def units_of_file(path, depth, namespaces):
    units = (unit for unit in pieces(read(path), depth, namespaces) if len(unit) <= MOST_UNIT_BYTES)
    yield from sorted(units, key=lambda unit: hashlib.sha1(unit).digest())


def joined(units, byte_count):
    """A document of units up to `byte_count`."""
    parts = []
    total = 0
    for unit in units:
        if total + len(unit) > byte_count:
            break
        parts.append(unit)
        total += len(unit)
    return b'<?xml version="1.0" encoding="UTF-8"?>\n<collection>\n' + b"\n".join(parts) + b"\n</collection>\n"


def mixed_units():
    """Units of all kinds in turn, so that every beginning holds the kinds in the same shares."""
    namespaces = {}
    sources = [  # share, units
        (6, units_of_file(GIR / "Gio-2.0.gir", 2, namespaces)),
        (4, units_of_file(GIR / "GLib-2.0.gir", 2, namespaces)),
        (2, units_of_file(MIME, 1, namespaces)),
        (15, units_of_file(KANJI, 1, namespaces)),
        (28, units_of_files(LOCALES.glob("*.xml"), namespaces)),
        (20, units_of_files(HANDBOOK.glob("*/*.html"), namespaces)),
        (25, units_of_files(CLIPART.glob("**/*.svg"), namespaces)),
    ]
    live = [[0, share, units] for share, units in sources]
    units = []
    total = 0
    while live and total < MIXED_BYTES:
        source = min(live, key=lambda entry: entry[0] / entry[1])
        unit = next(source[2], None)
        if unit is None:
            live.remove(source)
            continue
        source[0] += len(unit)
        total += len(unit)
        units.append(unit)
    return units, namespaces


def write_mixed(units, namespaces, byte_count, path):
    declarations = "".join(f' {name}="{uri}"' for name, uri in sorted(namespaces.items()) if name != "xmlns")
    head = f'<?xml version="1.0" encoding="UTF-8"?>\n<mixed kind="everything"{declarations}>\n'.encode()
    tail = b"</mixed>\n"
    room = byte_count - len(head) - len(tail)
    with path.open("wb") as out:
        out.write(head)
        for unit in units:
            room -= len(unit) + 1
            if room < 0:
                break
            out.write(unit + b"\n")
        out.write(tail)


def main():
    folder = pathlib.Path(sys.argv[1])
    done = folder / "version"
    if done.exists() and done.read_text() == VERSION:
        return
    files, series, small = (folder / name for name in ("files", "series", "small"))
    shutil.rmtree(folder, ignore_errors=True)
    for made in (files, series, small):
        made.mkdir(parents=True)

    (files / "interfaces.gir").write_bytes(read(GIR / "Gio-2.0.gir"))
    (files / "mime.xml").write_bytes(read(MIME))
    (files / "dictionary.xml").write_bytes(read(KANJI))
    (files / "locales.xml").write_bytes(joined(whole_files(LOCALES.glob("*.xml")), 20 * MB))
    (files / "handbook.xml").write_bytes(joined(whole_files(HANDBOOK.glob("*/*.html")), 10 * MB))
    (files / "drawings.xml").write_bytes(joined(whole_files(CLIPART.glob("**/*.svg")), 10 * MB))
    for name, source in SMALL.items():
        (small / name).write_bytes(read(source))

    units, namespaces = mixed_units()
    for step in range(SERIES_STEPS):
        byte_count = MIXED_BYTES >> step
        write_mixed(units, namespaces, byte_count, series / f"{byte_count / MB:07.3f}MB.xml")
    mixed = files / "mixed.xml"
    mixed.unlink(missing_ok=True)
    mixed.hardlink_to(series / f"{MIXED_BYTES / MB:07.3f}MB.xml")
    done.write_text(VERSION)


if __name__ == "__main__":
    main()
