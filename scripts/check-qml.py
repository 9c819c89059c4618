#!/usr/bin/env python3
"""qmllint over the project's QML documents; any finding fails the check.

  check-qml.py BUILD_DIRECTORY

The linter sees the module as the program does: the documents of the working tree, the singletons of the built
qmldir and the native types as the built program registers them. The only findings that are let pass are
unqualified names that the program publishes in the root context, that the document tests with typeof before it
uses them, or that are ids of the same document, and what the linter of Qt 6.4 does not understand.
"""
import json
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

# Qt.callLater(), the methods of array literals and the options of a file dialog.
MISUNDERSTOOD = re.compile(r'^Property "callLater" is a QJSValue property|^Type is a method\. You cannot access'
                           r'|^No type found for property "options"|^Property "DontConfirmOverwrite" not found')
REPOSITORY = Path(__file__).resolve().parent.parent


def find_qmllint():
    for name in ("qmllint6", "/usr/lib/qt6/bin/qmllint", "qmllint"):
        if shutil.which(name):
            return shutil.which(name)
    sys.exit("qmllint was not found")


def lay_out_module(build):
    """Lays the module out in a folder of its own, without the resource paths that a linter cannot follow."""
    folder = build / "lint" / "ZorvelClient"
    folder.mkdir(parents=True, exist_ok=True)
    documents = folder / "qml"
    if not documents.is_symlink():
        documents.symlink_to(REPOSITORY / "qml")
    registered = re.findall(r'registerType<\w+>\("(\w+)"\)', (REPOSITORY / "src/app/QmlTypes.cpp").read_text())
    types = subprocess.run([build / "tests/qml/zorvel_qmltypes", *registered], check=True, stdout=subprocess.PIPE,
                           text=True, env=os.environ | {"QT_QPA_PLATFORM": "offscreen"}).stdout
    (folder / "native.qmltypes").write_text(types)
    lines = (build / "ZorvelClient" / "qmldir").read_text().splitlines()
    kept = [line for line in lines if not line.startswith(("prefer ", "typeinfo "))]
    added = ["typeinfo native.qmltypes", "depends QtQuick", "depends QtQml.Models"]
    (folder / "qmldir").write_text("\n".join([kept[0], *added, *kept[1:]]) + "\n")
    return folder.parent


def list_documents():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "qml/*.qml"],
                            cwd=REPOSITORY, check=True, capture_output=True, text=True).stdout
    return [REPOSITORY / name for name in listed.split() if (REPOSITORY / name).exists()]


def is_known(name, text, published):
    return (name in published
            or re.search(rf"\bid: {re.escape(name)}\b", text) is not None
            or re.search(rf"\btypeof {re.escape(name)}\b", text) is not None)


def main():
    build = Path(sys.argv[1]).resolve()
    published = set(re.findall(r'setContextProperty\(QStringLiteral\("(\w+)"\)',
                               (REPOSITORY / "src/app/Application.cpp").read_text()))
    import_path = lay_out_module(build)
    documents = list_documents()
    # The working directory is an import path; some releases of the linter know no other way to add one.
    run = subprocess.run([find_qmllint(), "-I", import_path, "--json", "-", *documents], cwd=import_path,
                         capture_output=True, text=True)
    findings = 0
    report = json.loads(run.stdout)
    for document in report["files"]:
        path = Path(document["filename"])
        text = path.read_text()
        for warning in document["warnings"]:
            offset = warning.get("charOffset", 0)
            name = text[offset:offset + warning.get("length", 0)]
            if warning["message"].startswith("Unqualified access") and is_known(name, text, published):
                continue
            if MISUNDERSTOOD.search(warning["message"]):
                continue
            findings += 1
            print(f"{path.relative_to(REPOSITORY)}:{warning.get('line', 1)}: {warning['message']} ({name.strip()})")
    if len(report["files"]) != len(documents):
        sys.exit(f"qmllint read {len(report['files'])} of {len(documents)} documents")
    sys.exit(1 if findings else 0)


if __name__ == "__main__":
    main()
