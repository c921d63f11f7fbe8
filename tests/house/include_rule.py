#!/usr/bin/env python3
"""Checks that every file of src/ includes only what its room may include, and that CMake links the same.

Usage: include_rule.py PROJECT_ROOT

The rule is the table "Rooms" of ARCHITECTURE.md. A room is a folder of src/ whose files a target of src/CMakeLists.txt
compiles; files in a folder below it belong to it. The last column names the rooms that it may include, in backquotes,
and its third-party libraries. The table must have exactly the rooms of src/CMakeLists.txt, each row must contain what
the room's targets link themselves, and what it contains must be linked by them, at least by way of other targets.
"""
from __future__ import annotations

import pathlib
import re
import sys
from dataclasses import dataclass, field

ROOT = "src"  # the room of the files that are in no folder
# name in the table: (beginnings of its names in CMake, beginnings of its headers)
LIBRARIES = {
    "FFmpeg": (("PkgConfig::FFMPEG",), ("libav", "libsw")),
    "fontconfig": (("PkgConfig::FONTCONFIG",), ("fontconfig/",)),
    "libarchive": (("PkgConfig::ARCHIVE",), ("archive",)),
    "libcurl": (("PkgConfig::CURL",), ("curl/",)),
    "libseccomp": (("PkgConfig::SECCOMP",), ("seccomp.h",)),
    "libsystemd": (("PkgConfig::SYSTEMD",), ("systemd/",)),
    "Nettle": (("PkgConfig::NETTLE",), ("nettle/",)),
    "nlohmann-json": (("nlohmann_json::",), ("nlohmann/",)),
    "PipeWire": (("PkgConfig::PIPEWIRE",), ("pipewire/", "spa/")),
    "PocketSphinx": (("${POCKETSPHINX_LIBRARIES}",), ("pocketsphinx", "sphinxbase/")),
    "Qt": (("Qt6::", "${QT_"), ("Q",)),
    "SpeexDSP": (("PkgConfig::SPEEXDSP",), ("speex/",)),
    "Xlib": (("X11::X11",), ("X11/",)),
}
NO_LIBRARIES = ("murmelo_options", "${CMAKE_DL_LIBS}")
COMMANDS = ("murmelo_library", "murmelo_executable", "add_library", "target_link_libraries")
KEYWORDS = ("SOURCES", "LINKS", "PRECOMPILED", "LIBEXEC", "PRIVATE", "PUBLIC", "INTERFACE", "MODULE", "STATIC")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
IN_BACKQUOTES = re.compile(r"`([^`]+)`")


@dataclass
class Target:
    links: set[str] = field(default_factory=set)
    sources: set[str] = field(default_factory=set)  # below src/, without their suffix

    def rooms(self) -> set[str]:
        return {folder_of(source) for source in self.sources}


def folder_of(path: str) -> str:
    return path.rpartition("/")[0] or ROOT


def library_of(name: str, column: int) -> str | None:
    """The library that CMake (0) or an #include (1) calls so."""
    for library, beginnings in LIBRARIES.items():
        if name.startswith(beginnings[column]):
            return library
    return None


def targets_in(cmake: str) -> dict[str, Target]:
    """The targets that commands such as murmelo_library(NAME LINKS … SOURCES …) describe."""
    targets: dict[str, Target] = {}
    variables: dict[str, list[str]] = {}
    for command, text in re.findall(r"^\s*(\w+)\(([^()]*)\)", re.sub(r"#.*", "", cmake), re.MULTILINE):
        words = text.split()
        if command == "set":
            variables.setdefault(words[0], []).extend(words[1:])  # every branch of a condition
        if command not in COMMANDS:
            continue
        target = targets.setdefault(words[0], Target())
        are_links = command == "target_link_libraries"
        for word in words[1:]:
            if word in KEYWORDS:
                are_links = word == "LINKS" or command == "target_link_libraries"
                continue
            for value in variables.get(word.removeprefix("${").removesuffix("}"), [word]):
                if value.endswith(".cpp"):
                    target.sources.add(value.removesuffix(".cpp"))
                elif are_links and value not in NO_LIBRARIES:
                    target.links.add(value)
    return targets


def table_in(document: str) -> dict[str, tuple[set[str], set[str]]]:
    """Room: (rooms, libraries), from the first and the last column of the table below the heading "Rooms"."""
    section = re.search(r"^## Rooms$(.*?)(?=^## |\Z)", document, re.MULTILINE | re.DOTALL)
    table = {}
    for line in (section[1] if section else "").splitlines():
        cells = line.strip().strip("|").split("|")
        room = IN_BACKQUOTES.search(cells[0])
        if line.startswith("|") and room:
            words = set(re.findall(r"[\w-]+", IN_BACKQUOTES.sub("", cells[-1])))
            table[room[1]] = (set(IN_BACKQUOTES.findall(cells[-1])), words & LIBRARIES.keys())
    return table


class Rule:
    def __init__(self, table: dict[str, tuple[set[str], set[str]]], targets: dict[str, Target]) -> None:
        self.table = table
        self.targets = targets

    def _of(self, room: str) -> list[str]:
        return [name for name, target in self.targets.items() if room in target.rooms()]

    def _resolve(self, links: set[str], room: str) -> tuple[set[str], set[str]]:
        """The rooms and libraries that these links are."""
        rooms = {each for link in links if link in self.targets for each in self.targets[link].rooms()} - {room}
        libraries = {library_of(link, 0) for link in links if link not in self.targets}
        return rooms, {library for library in libraries if library}

    def _reached(self, names: list[str]) -> set[str]:
        reached: set[str] = set()
        waiting = list(names)
        while waiting:
            for link in self.targets[waiting.pop()].links - reached:
                reached.add(link)
                if link in self.targets:
                    waiting.append(link)
        return reached

    def disagreements(self) -> list[str]:
        """Where table and CMake differ."""
        found = [f"the target {name} links {link}, which include_rule.py does not know"
                 for name, target in self.targets.items() for link in sorted(target.links)
                 if link not in self.targets and not library_of(link, 0)]
        found += [f"the target {name} has sources of several rooms"
                  for name, target in self.targets.items() if len(target.rooms()) > 1]
        rooms = {room for target in self.targets.values() for room in target.rooms()}
        found += [f"ARCHITECTURE.md does not have the room {room}" for room in sorted(rooms - self.table.keys())]
        found += [f"ARCHITECTURE.md has the room {room}, CMake has not" for room in sorted(self.table.keys() - rooms)]
        for room in sorted(rooms & self.table.keys()):
            names = self._of(room)
            own = self._resolve(set().union(*(self.targets[name].links for name in names)), room)
            reached = self._resolve(self._reached(names), room)
            for linked, may, all_linked in zip(own, self.table[room], reached):
                found += [f"{room} links {other}, which ARCHITECTURE.md does not allow"
                          for other in sorted(linked - may)]
                found += [f"ARCHITECTURE.md allows {room} to include {other}, which it does not link"
                          for other in sorted(may - all_linked)]
        return found

    def _room_of(self, path: str) -> str:
        room = folder_of(path)
        while room not in self.table and "/" in room:
            room = folder_of(room)
        return room

    def _is_shared(self, header: str, other: str, room: str) -> bool:
        """Of a room that several targets divide, another room has the sources of those that it links."""
        parts = self._of(other)
        linked = self._reached(self._of(room))
        return len(parts) == 1 or any(
            header.removesuffix(".h") in self.targets[part].sources for part in parts if part in linked)

    def faults(self, path: str, text: str) -> list[str]:
        room = self._room_of(path)
        if room not in self.table:
            return [f"{path} is in no room"]
        rooms, libraries = self.table[room]
        found = []
        for quote, header in INCLUDE.findall(text):
            if quote == '"':
                other = self._room_of(header)
                if other != room and not (other in rooms and self._is_shared(header, other, room)):
                    found.append(f"{path}: the room {room} may not include {header}")
            elif (library := library_of(header, 1)) and library not in libraries:
                found.append(f"{path}: the room {room} may not include <{header}> of {library}")
        return found


def self_test() -> None:
    cmake = """
        murmelo_library(base SOURCES base/error.cpp) # a remark (with a bracket
        murmelo_library(capture LINKS base SOURCES capture/a.cpp)
        murmelo_library(media LINKS capture SOURCES platform/media/a.cpp)
        target_link_libraries(media PRIVATE PkgConfig::FFMPEG murmelo_options)
        murmelo_library(protocol LINKS base SOURCES worker/protocol.cpp)
        set(more worker/more.cpp)
        murmelo_library(worker LINKS protocol media SOURCES ${more})
        murmelo_library(parent LINKS protocol SOURCES parent/a.cpp)
        murmelo_executable(program LINKS capture media Qt6::Gui SOURCES main.cpp)"""
    document = """
## Rooms
The `table`:
| room | holds | may include |
|---|---|---|
| `base` | `A` | – |
| `capture` | b | `base` |
| `platform/media` | c | `capture`, FFmpeg |
| `worker` | d | `platform/media`, `base` |
| `parent` | e | `worker` (its protocol) |
| `src` (`main.cpp`) | f | `capture`, `platform/media`; Qt |
## Next
| `other` | g | `base` |
"""
    rule = Rule(table_in(document), targets_in(cmake))

    def is_fault(path: str, text: str) -> bool:
        return bool(rule.faults(path, text))

    assert not rule.disagreements(), rule.disagreements()
    assert not is_fault("capture/a.cpp", '#include "base/error.h"\n#include "capture/b.h"\n#include <vector>')
    assert is_fault("capture/a.cpp", '#include "platform/media/b.h"')
    assert is_fault("base/a.h", '# include "capture/b.h"')
    assert is_fault("platform/media/a.h", '#include "base/error.h"')  # linked, and not in the table
    assert is_fault("capture/a.h", "#include <libavcodec/avcodec.h>")
    assert is_fault("capture/a.h", "#include <QString>")
    assert not is_fault("platform/media/a.h", "#include <libavcodec/avcodec.h>")
    assert not is_fault("platform/media/below/a.h", "#include <libavcodec/avcodec.h>")
    assert is_fault("platform/media/a.h", "#include <pipewire/pipewire.h>")
    assert not is_fault("parent/a.cpp", '#include "worker/protocol.h"')
    assert is_fault("parent/a.cpp", '#include "worker/more.h"')  # of a target that it does not link
    assert not is_fault("main.cpp", '#include "platform/media/a.h"\n#include <QString>')
    assert is_fault("main.cpp", '#include "base/error.h"')
    assert is_fault("elsewhere/a.h", "")

    for change in (("`base` | `A` | –", "`base` | `A` | `capture`"), ("| `worker` (its protocol)", "| –"),
                   ("FFmpeg |", "|"), ("`capture` | b | `base`", "`capture` | b | `base`, PipeWire"),
                   ("| `parent` | e | `worker` (its protocol) |\n", ""), ("## Next\n", ""), ("## Rooms", "## Others")):
        assert change[0] in document
        assert Rule(table_in(document.replace(*change)), targets_in(cmake)).disagreements(), change
    for change in (("capture LINKS base", "capture"), ("Qt6::Gui", "Unheard::Of"), ("capture/a.cpp", "other/a.cpp"),
                   ("base/error.cpp", "base/error.cpp capture/error.cpp"), ("base SOURCES", "base LINKS parent SOURCES")):
        assert change[0] in cmake
        assert Rule(table_in(document), targets_in(cmake.replace(*change))).disagreements(), change


def main() -> int:
    self_test()
    project = pathlib.Path(sys.argv[1])
    source = project / "src"
    rule = Rule(table_in((project / "ARCHITECTURE.md").read_text()), targets_in((source / "CMakeLists.txt").read_text()))
    files = sorted(f for f in source.rglob("*") if f.suffix in (".h", ".cpp"))
    found = rule.disagreements()
    for each in files:
        found += rule.faults(each.relative_to(source).as_posix(), each.read_text())
    print("\n".join(found) or f"{len(files)} files in {len(rule.table)} rooms follow the rule")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
