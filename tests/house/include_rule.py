#!/usr/bin/env python3
"""Checks that every file of src/ includes only what its room may include.

Usage: include_rule.py SOURCE_ROOT; with --self-test it checks itself.
"""
import pathlib
import re
import sys

# room: (rooms it may include, prefixes of third-party headers it may include)
ROOMS = {
    "base": ([], []),
    "capture": (["base"], []),
    "transcription": (["base"], []),
    "app": (["base", "capture", "transcription"], []),
    "json": ([], ["nlohmann/"]),
    "models": (["base", "json", "transcription"], []),
    "ui": (["base", "app", "capture"], ["Q"]),
    "platform/posix": (["base"], []),
    "platform/pipewire": (["base", "capture"], ["pipewire/", "spa/"]),
    "platform/media": (["base", "capture", "transcription", "platform/posix"], ["libav", "libsw"]),
    "platform/desktop": (["base", "app", "capture", "platform/posix"], ["Q", "systemd/"]),
    "platform/models": (["base", "transcription", "models", "platform/posix"], ["archive", "curl/", "nettle/"]),
    "platform/speech": (["base", "transcription", "models", "platform/posix", "speech_worker/protocol.h",
                         "speech_worker/sherpa_folder.h"],
                        []),
    "speech_worker": (["base", "json", "platform/media", "platform/posix"], ["pocketsphinx.h", "seccomp.h", "speex/", "sphinxbase/"]),
    "cli": (["base", "capture", "transcription", "app", "json", "models"], []),
    # main.cpp with application and backends: the composition root
    "": (["base", "capture", "transcription", "app", "models", "ui", "cli", "platform/", "application.h", "backends.h", "late_"],
         ["Q"]),
}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
THIRD_PARTY = re.compile(r"^(pipewire/|spa/|libav|libsw|nlohmann/|pocketsphinx|seccomp\.h|speex/|sphinxbase/|systemd/|archive|curl/|nettle/|Q[A-Z]|Qt)")


def room_of(path: str) -> str:
    return max((r for r in ROOMS if r and path.startswith(r + "/")), key=len, default="")


def faults(path: str, text: str) -> list[str]:
    room = room_of(path)
    rooms, third_party = ROOMS[room]
    found = []
    for quote, header in INCLUDE.findall(text):
        if quote == '"':
            own = room_of(header) == room
            if not own and not any(header.startswith(r) for r in rooms):
                found.append(f"{path}: room '{room or 'main'}' may not include {header}")
        elif THIRD_PARTY.match(header) and not any(header.startswith(p) for p in third_party):
            found.append(f"{path}: room '{room or 'main'}' may not include <{header}>")
    return found


def self_test() -> None:
    assert not faults("capture/a.cpp", '#include "base/error.h"\n#include "capture/b.h"\n#include <vector>')
    assert faults("capture/a.cpp", '#include "platform/media/b.h"')
    assert faults("base/a.h", '# include "capture/b.h"')
    assert faults("transcription/a.h", "#include <libavcodec/avcodec.h>")
    assert faults("capture/a.h", "#include <QString>")
    assert not faults("platform/media/a.h", "#include <libavcodec/avcodec.h>")
    assert faults("platform/media/a.h", "#include <pipewire/pipewire.h>")
    assert not faults("main.cpp", '#include "platform/media/a.h"')


def main() -> int:
    self_test()
    source = pathlib.Path(sys.argv[1])
    files = sorted(f for f in source.rglob("*") if f.suffix in (".h", ".cpp"))
    found = [fault for f in files for fault in faults(f.relative_to(source).as_posix(), f.read_text())]
    print("\n".join(found) or f"{len(files)} files follow the rule")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
