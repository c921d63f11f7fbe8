#!/usr/bin/env python3
"""Installs the build, makes the Debian package, and looks at what is in them.

Usage: packaging_test.py SOURCE_ROOT BUILD_ROOT
"""
import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE, BUILD = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
NAME = "org.murmelo.Murmelo"
SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
# The speech engine is installed where it was had for the build.
ENGINE = sorted(f.relative_to(BUILD).as_posix() for f in BUILD.glob("lib/murmelo/sherpa-onnx/*/*.so"))
INSTALLED = sorted([
    "bin/murmelo",
    *ENGINE,
    "lib/murmelo/murmelo-late.so",
    "libexec/murmelo/murmelo-audio-length",
    "libexec/murmelo/murmelo-speech-pocketsphinx",
    "libexec/murmelo/murmelo-speech-sherpa-onnx",
    f"share/applications/{NAME}.desktop",
    "share/bash-completion/completions/murmelo",
    f"share/dbus-1/services/{NAME}.service",
    "share/doc/murmelo/CHANGELOG.md",
    "share/doc/murmelo/README.md",
    "share/doc/murmelo/copyright",
    f"share/doc/murmelo/examples/{NAME}.desktop",
    "share/fish/vendor_completions.d/murmelo.fish",
    *(f"share/icons/hicolor/{size}x{size}/apps/{NAME}.png" for size in SIZES),
    f"share/icons/hicolor/scalable/apps/{NAME}-recording.svg",
    f"share/icons/hicolor/scalable/apps/{NAME}.svg",
    f"share/icons/hicolor/symbolic/apps/{NAME}-symbolic.svg",
    "share/man/man1/murmelo.1",
    f"share/metainfo/{NAME}.metainfo.xml",
    "share/murmelo/models.json",
    "share/zsh/vendor-completions/_murmelo",
])


def run(*command, **options):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)


def checked(*command, **options):
    done = run(*command, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout + done.stderr


def is_installed(package):
    return run("dpkg-query", "-W", "-f", "${db:Status-Status}", package).stdout == "installed"


def files_below(root):
    return sorted(f.relative_to(root).as_posix() for f in root.rglob("*") if not f.is_dir())


def key_of_text(text, key):
    return re.search(rf"^{key}=(.*)$", text, re.MULTILINE).group(1)


def key_of(file, key):
    return key_of_text(file.read_text(), key)


def key_of_group(file, group, key):
    return key_of_text(file.read_text().split(f"[{group}]\n")[1], key)


class InstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.folder.name) / "tree"
        checked("cmake", "--install", BUILD, "--prefix", cls.root)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_everything_is_in_its_place(self):
        self.assertEqual(files_below(self.root), INSTALLED)

    def test_entries_name_the_program_with_its_path(self):
        program = f"{self.root}/bin/murmelo"
        share = self.root / "share"
        self.assertEqual(key_of(share / f"applications/{NAME}.desktop", "Exec"), program)
        self.assertEqual(key_of(share / f"dbus-1/services/{NAME}.service", "Exec"), program)
        self.assertEqual(key_of(share / f"dbus-1/services/{NAME}.service", "Name"), NAME)
        self.assertEqual(key_of(share / f"doc/murmelo/examples/{NAME}.desktop", "Exec"), program)
        self.assertIn(f"Exec={program} toggle\n", (share / f"applications/{NAME}.desktop").read_text())

    def test_desktop_entries_are_valid(self):
        for entry in self.root.glob("share/**/*.desktop"):
            self.assertEqual(checked("desktop-file-validate", entry), "")

    def test_metainfo_is_valid(self):
        metainfo = self.root / f"share/metainfo/{NAME}.metainfo.xml"
        said = run("appstreamcli", "validate", "--no-net", metainfo).stdout
        self.assertIn("Validation", said)
        # Murmelo has no page on the web that could be named.
        self.assertEqual([line for line in said.splitlines()
                          if line.startswith(("E:", "W:")) and not line.endswith("url-homepage-missing")], [])

    def test_metainfo_has_a_release_of_this_version(self):
        version = checked(self.root / "bin/murmelo", "--version").split()[1]
        metainfo = (self.root / f"share/metainfo/{NAME}.metainfo.xml").read_text()
        self.assertIn(f'<release version="{version}"', metainfo)
        self.assertIn(f'"Murmelo {version}"', (self.root / "share/man/man1/murmelo.1").read_text())

    def test_pictures_have_the_size_of_their_folder(self):
        for size in SIZES:
            picture = self.root / f"share/icons/hicolor/{size}x{size}/apps/{NAME}.png"
            self.assertEqual(struct.unpack(">8xI4s2I", picture.read_bytes()[:24])[1:], (b"IHDR", size, size))

    def test_symbolic_icon_has_fills_only(self):
        icon = (self.root / f"share/icons/hicolor/symbolic/apps/{NAME}-symbolic.svg").read_text()
        self.assertNotIn("stroke", icon)

    def test_symbolic_icon_takes_the_colour_that_gtk_gives_it(self):
        sheet = pathlib.Path(self.folder.name) / "gtk.css"
        sheet.write_text("rect, circle, path { fill: #eeeeec !important; }")  # as GTK 3 does it
        picture = pathlib.Path(self.folder.name) / "symbolic.png"
        checked("rsvg-convert", "--width=64", "--height=64", f"--stylesheet={sheet}", f"--output={picture}",
                self.root / f"share/icons/hicolor/symbolic/apps/{NAME}-symbolic.svg")
        pixels = subprocess.run(["ffmpeg", "-v", "error", "-i", picture, "-f", "rawvideo", "-pix_fmt", "rgba", "-"],
                                capture_output=True, check=True).stdout
        opaque = {pixels[i:i + 3] for i in range(0, len(pixels), 4) if pixels[i + 3] == 255}
        self.assertEqual(opaque, {bytes((0xee, 0xee, 0xec))})

    def test_manual_page_has_no_faults(self):
        self.assertEqual(run("groff", "-ww", "-man", "-Tutf8", self.root / "share/man/man1/murmelo.1").stderr, "")

    def test_every_word_of_the_help_is_in_manual_and_completions(self):
        usage = checked(self.root / "bin/murmelo", "--help")
        words = set(re.findall(r"^  murmelo (\w+)", usage, re.MULTILINE)) | set(re.findall(r"--([a-z-]+)", usage))
        self.assertIn("dry-run", words)
        for file in ("man/man1/murmelo.1", "bash-completion/completions/murmelo", "zsh/vendor-completions/_murmelo",
                     "fish/vendor_completions.d/murmelo.fish"):
            text = (self.root / "share" / file).read_text().replace("\\-", "-")
            self.assertEqual([word for word in sorted(words) if word not in text], [], file)

    def test_manual_and_completions_offer_no_other_subcommands(self):
        usage = checked(self.root / "bin/murmelo", "--help")
        known = set(re.findall(r"^  murmelo (\w+)", usage, re.MULTILINE))
        offered = set(re.findall(r"^\.B murmelo (\w+)$", (self.root / "share/man/man1/murmelo.1").read_text(), re.MULTILINE))
        self.assertEqual(offered, known)
        self.assertEqual({word for word in self.completed("") if not word.startswith("-")}, known)

    def test_the_desktop_action_is_one_that_the_program_knows(self):
        program, *words = key_of_group(self.root / f"share/applications/{NAME}.desktop", "Desktop Action toggle-recording",
                                       "Exec").split()
        without_bus = {"PATH": "/usr/bin:/bin", "HOME": self.folder.name, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        done = run(program, *words, env=without_bus)
        self.assertEqual((done.returncode, done.stderr), (1, "Murmelo is not running on this desktop.\n"))

    def test_a_plain_locale_adds_nothing_to_what_the_terminal_reads(self):
        without_bus = {"PATH": "/usr/bin:/bin", "HOME": self.folder.name, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        for command in ("status", "toggle"):
            done = run(self.root / "bin/murmelo", command, env={**without_bus, "LC_ALL": "C"})
            self.assertEqual((done.returncode, done.stdout, done.stderr), (1, "", "Murmelo is not running on this desktop.\n"))

    def completed(self, *words):
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _murmelo; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        completion = self.root / "share/bash-completion/completions/murmelo"
        return checked("bash", "-c", script, "bash", completion, "murmelo", *words).split()

    def test_bash_completes(self):
        self.assertEqual(self.completed("re"), ["record", "recover"])
        self.assertEqual(self.completed("record", "--s"), ["--seconds"])
        self.assertEqual(self.completed("status", "--"), ["--json", "--verbose"])
        self.assertEqual(self.completed("toggle", "--"), ["--verbose"])
        self.assertEqual(self.completed("recover", "--d"), ["--dry-run"])
        self.assertEqual(self.completed("models", "in"), ["install"])
        self.assertEqual(self.completed("models", "--f"), ["--from"])

    def test_the_installed_program_finds_its_catalogue(self):
        home = {"PATH": "/usr/bin:/bin", "HOME": self.folder.name}
        listed = json.loads(run(self.root / "bin/murmelo", "models", "--json", env=home).stdout)
        catalogue = json.loads((SOURCE / "data/models.json").read_text())["models"]
        self.assertEqual([(model["id"], model["installed"]) for model in listed],
                         [(model["id"], False) for model in catalogue])

    def test_the_installed_program_finds_its_worker(self):
        recording = pathlib.Path(self.folder.name) / "recording"
        recording.mkdir()
        for track in ("voice", "system", "mix"):
            checked("ffmpeg", "-v", "error", "-f", "lavfi", "-i", "anullsrc=r=48000:cl=stereo", "-t", "1",
                    "-c:a", "aac", recording / f"{track}.m4a")
        # No speech model is downloaded for this.
        home = {"PATH": "/usr/bin:/bin", "HOME": self.folder.name, "LANG": "en_US.UTF-8", "https_proxy": "http://127.0.0.1:9"}
        transcribe = (self.root / "bin/murmelo", "transcribe", "--verbose", recording)
        done = run(*transcribe, env=home)
        # With the worker for sherpa-onnx alone a model would be downloaded first.
        for hidden in (["murmelo-speech-pocketsphinx", "murmelo-speech-sherpa-onnx"], ["murmelo-audio-length"]):
            workers = [self.root / "libexec/murmelo" / name for name in hidden]
            for worker in workers:
                worker.rename(worker.with_suffix(".hidden"))
            without = run(*transcribe, env=home)
            for worker in workers:
                worker.with_suffix(".hidden").rename(worker)
            self.assertIn(f"The speech worker {workers[0]} is missing", without.stderr)
        self.assertNotIn("is missing", done.stderr)

    def test_the_heaviest_libraries_come_with_the_module_only(self):
        needed = {file: checked("readelf", "--dynamic", self.root / file)
                  for file in ("bin/murmelo", "lib/murmelo/murmelo-late.so")}
        for library in ("libavcodec", "libcurl", "libarchive"):
            self.assertNotIn(f"[{library}", needed["bin/murmelo"])
            self.assertIn(f"[{library}", needed["lib/murmelo/murmelo-late.so"])

    def test_the_program_itself_has_no_library_that_reads_files_of_others(self):
        for file in ("bin/murmelo", "lib/murmelo/murmelo-late.so"):
            self.assertNotIn("[libavformat", checked("readelf", "--dynamic", self.root / file))

    def test_without_its_module_the_installed_program_says_so(self):
        module = self.root / "lib/murmelo/murmelo-late.so"
        hidden = module.rename(module.with_suffix(".hidden"))
        done = run(self.root / "bin/murmelo", "models", env={"PATH": "/usr/bin:/bin", "HOME": self.folder.name})
        hidden.rename(module)
        self.assertEqual(done.stderr, f"A part of Murmelo cannot be loaded: {module} is missing.\n")
        self.assertNotEqual(done.returncode, 0)

    def test_the_speech_engine_is_unchanged_and_its_worker_finds_it(self):
        if not ENGINE:
            self.skipTest("sherpa-onnx was not here when this was built: ./test fetches it from the npm registry")
        for library in ENGINE:
            self.assertEqual((self.root / library).read_bytes(), (BUILD / library).read_bytes())
        worker = [self.root / "libexec/murmelo/murmelo-speech-sherpa-onnx", "--locale", "en_US", "--model", "/nowhere"]
        with subprocess.Popen([*worker, "3"], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            self.assertIn(b"it has no model.json", process.stdout.read()) # so it has loaded the engine


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        checked("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder.name, cwd=cls.folder.name)
        cls.package = next(pathlib.Path(cls.folder.name).glob("murmelo_*.deb"))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_holds_what_is_installed(self):
        tree = pathlib.Path(self.folder.name) / "package"
        checked("dpkg-deb", "--extract", self.package, tree)
        self.assertEqual(files_below(tree), [f"usr/{file}" for file in INSTALLED])
        for library in ENGINE:
            self.assertEqual((tree / "usr" / library).read_bytes(), (BUILD / library).read_bytes())
        self.assertEqual(key_of(tree / f"usr/share/dbus-1/services/{NAME}.service", "Exec"), "/usr/bin/murmelo")

    def test_depends_on_libraries_and_on_what_is_found_at_run_time(self):
        depends = checked("dpkg-deb", "--field", self.package, "Depends").strip().split(", ")
        names = {dependency.split()[0] for dependency in depends}
        listed = (SOURCE / "scripts/packages.txt").read_text().split("[program]\n")[1].split("\n[")[0]
        wanted = [line.split(" = ")[0].split(" | ") for line in listed.splitlines() if line and not line.startswith("#")]
        self.assertGreater(len(wanted), 5)
        # Of the names that different releases have for the same thing, the first one that this release knows.
        self.assertEqual([choice for choice in wanted if next(filter(is_installed, choice), None) not in names], [])
        # Debian puts an ABI's number behind a library's name, and "t64" since its time is 64 bits wide everywhere.
        linked = (r"libc\d", r"libqt6dbus\d", r"libpipewire-0\.3-0", r"libavcodec\d+", r"libpocketsphinx\d", r"libcurl\d-gnutls",
                  r"libarchive\d+", r"libnettle\d")
        self.assertEqual([library for library in linked
                          if not any(re.fullmatch(library, name.replace("t64", "")) for name in names)], [])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
