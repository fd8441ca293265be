"""Rewrites a zip archive with sorted entries, a fixed time and fixed attributes:
remove_times.py ARCHIVE"""
import sys
import zipfile

path = sys.argv[1]
with zipfile.ZipFile(path) as archive:
    entries = [(entry.filename, archive.read(entry)) for entry in archive.infolist()]
with zipfile.ZipFile(path, 'w', zipfile.ZIP_DEFLATED) as archive:
    for name, content in sorted(entries):
        entry = zipfile.ZipInfo(name, (2000, 1, 1, 0, 0, 0))
        entry.compress_type = zipfile.ZIP_DEFLATED
        entry.external_attr = (0o40755 << 16 | 0x10) if name.endswith('/') else 0o100644 << 16
        archive.writestr(entry, content)
