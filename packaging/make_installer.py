"""Makes the Windows Installer package from the staged files of the archive "extension":
make_installer.py STAGED_DIRECTORY VERSION PACKAGE

wixl makes it from installer.wxs.in. msibuild adds what wixl cannot express."""
import hashlib
import os
import pathlib
import shutil
import string
import subprocess
import sys
import tempfile
import uuid

UPGRADE_CODE = 'A276D980-4FC7-4903-8AAD-EAFCABDEA0BD'
TIME = '2000-01-01 00:00:00'

staged, version, package = sys.argv[1:]
source = pathlib.Path(__file__).with_name('installer.wxs.in')

# Security descriptors in SDDL. Administrators (BA) and the system (SY) may do everything, users (BU) read. An owner (OW)
# may not change the rights, in case a user has created the object before the package.
DIRECTORY = 'O:BAG:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;OICI;RC;;;OW)'
FILE = 'O:BAG:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x1200a9;;;BU)(A;;RC;;;OW)'
# Users read the log and append to it. The directory passes this right on to a new log.
LOG = 'O:BAG:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x12008d;;;BU)(A;;RC;;;OW)'
LOGS = 'O:BAG:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;CI;0x1200a9;;;BU)(A;OIIO;0x12008d;;;BU)(A;OICI;RC;;;OW)'
# As in ProgramData, users also create files and directories of their own. They neither delete nor rename what others
# have created.
SHARED = ('O:BAG:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;CI;0x116;;;BU)(A;OICIIO;FA;;;CO)'
          '(A;;RC;;;OW)')
# Windows protects its own directories for programs.
ELSEWHERE = 'NOT (INSTALLDIR ~<< ProgramFiles64Folder OR INSTALLDIR ~<< ProgramFilesFolder)'
RIGHTS = [
    ('VENDORDATA', 'CreateFolder', SHARED, ''),
    ('PRODUCTDATA', 'CreateFolder', SHARED, ''),
    ('LOGS', 'CreateFolder', LOGS, ''),
    ('LOGFILE', 'File', LOG, ''),
    ('INSTALLDIR', 'CreateFolder', DIRECTORY, ELSEWHERE),
    ('LANG', 'CreateFolder', DIRECTORY, ELSEWHERE),
    ('LIBRARY', 'File', FILE, ELSEWHERE),
]

QUERIES = [
    # Without a version Windows takes the DLL for older than an installed one and skips it. Only a file without a
    # version has a hash.
    f"UPDATE `File` SET `Version`='{version}.0', `Language`='1033' WHERE `File`='LIBRARY'",
    "DELETE FROM `MsiFileHash` WHERE `File_`='LIBRARY'",
    # A package of the same version is replaced, too: 512. 1 keeps the selection of features.
    "DELETE FROM `Upgrade` WHERE `ActionProperty`='WIX_UPGRADE_DETECTED'",
    'INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMax`, `Attributes`, `ActionProperty`) '
    f"VALUES ('{{{UPGRADE_CODE}}}', '{version}', 513, 'WIX_UPGRADE_DETECTED')",
    # If a user installs the package, Windows passes only these properties of its own to the elevated part.
    "UPDATE `Property` SET `Value`='INSTALLDIR;WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED' "
    "WHERE `Property`='SecureCustomProperties'",
    # Removing the package keeps the log: 16. No update or repair replaces it: 128. 64-bit: 256.
    "UPDATE `Component` SET `Attributes`=400 WHERE `Component`='LOGFILE'",
    'CREATE TABLE `MsiLockPermissionsEx` (`MsiLockPermissionsEx` CHAR(72) NOT NULL, `LockObject` CHAR(72) NOT NULL, '
    '`Table` CHAR(32) NOT NULL, `SDDLText` CHAR(0) NOT NULL, `Condition` CHAR(255) PRIMARY KEY `MsiLockPermissionsEx`)',
] + [
    'INSERT INTO `MsiLockPermissionsEx` (`MsiLockPermissionsEx`, `LockObject`, `Table`, `SDDLText`, `Condition`) '
    f"VALUES ('{name}', '{name}', '{table}', '{rights}', '{condition}')"
    for name, table, rights, condition in RIGHTS
]


def run(directory, *command):
    """Runs a command at a fixed time, because it writes the time into the package."""
    subprocess.run(['faketime', '-f', TIME, *command], cwd=directory, check=True, env={**os.environ, 'TZ': 'UTC'})


def content_key(directory):
    """Returns a text that differs if the content of the package or the way to make it differs."""
    files = sorted(path for path in directory.rglob('*') if path.is_file())
    texts = [str(path.relative_to(directory)) + hashlib.sha256(path.read_bytes()).hexdigest() for path in files]
    return ''.join(texts + [version, source.read_text(), pathlib.Path(__file__).read_text()])


with tempfile.TemporaryDirectory() as temporary:
    work = pathlib.Path(temporary)
    shutil.copytree(staged, work, dirs_exist_ok=True)
    (work / 'ShellExt.log').touch()
    # Packages with other contents need other codes.
    content = content_key(work)
    product_code, package_code = (str(uuid.uuid5(uuid.UUID(UPGRADE_CODE), f'{kind} {content}')).upper()
                                  for kind in ('product', 'package'))
    (work / 'installer.wxs').write_text(string.Template(source.read_text()).substitute(
        product_code=product_code, upgrade_code=UPGRADE_CODE, version=version))
    subprocess.run(['find', '.', '-exec', 'touch', '-d', f'{TIME}Z', '{}', '+'], cwd=work, check=True)
    # wixl finds no source by an absolute path.
    run(work, 'wixl', '--arch', 'x64', '--output', 'package.msi', 'installer.wxs')
    run(work, 'msibuild', 'package.msi', '-s', 'Vorandel Kelvaro Shell Extension', 'Vorandel', 'x64;1033',
        f'{{{package_code}}}')
    for query in QUERIES:
        run(work, 'msibuild', 'package.msi', '-q', query)
    shutil.copyfile(work / 'package.msi', package)
