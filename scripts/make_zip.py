#!/usr/bin/env python3
"""Writes a zip whose bytes depend only on its contents: fixed entry times, permissions and order.

    make_zip.py OUT.zip DIR NAME...    the files DIR/NAME, in the order given
"""
import os
import sys
import zipfile


def main():
    out, folder, names = sys.argv[1], sys.argv[2], sys.argv[3:]
    with zipfile.ZipFile(out + ".tmp", "w") as archive:
        for name in names:
            entry = zipfile.ZipInfo(name, date_time=(1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o644 << 16
            with open(os.path.join(folder, name), "rb") as source:
                archive.writestr(entry, source.read(), compresslevel=9)
    os.replace(out + ".tmp", out)


if __name__ == "__main__":
    main()
