#!/usr/bin/env python3
"""What scripts/set-up.sh installs, and what it says where it can't install anything.

Usage: set_up_test.py SOURCE_ROOT

Package manager, sudo and pkg-config are scripts that stand in for them; of the system only the named tools are there.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1]).resolve()
TOOLS = ("awk", "bash", "cat", "dirname", "echo", "env", "mktemp", "rm", "sed", "tail", "tr", "wc", "xargs")
PACKAGES = """
[build]
compiler = compile
old-name | new-name
sound-dev = pkgconfig(sound) pkgconfig(sound-more)
[test]
tool = tool
"""
OFFERS = {12: ("compiler", "old-name", "sound-dev", "tool"), 13: ("compiler", "new-name", "sound-dev", "tool")}


class SetUp(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "bin").mkdir()
        (self.root / "scripts").mkdir()
        shutil.copy(SOURCE / "scripts/set-up.sh", self.root / "scripts")
        (self.root / "scripts/packages.txt").write_text(PACKAGES)
        self.installed = self.root / "installed"
        self.installed.touch()
        self.root_rights = self.root / "as-root" # sudo was asked
        for tool in TOOLS:
            (self.root / "bin" / tool).symlink_to(os.path.realpath(shutil.which(tool)))

    def program(self, name, text="exit 0"):
        file = self.root / "bin" / name
        file.write_text(f"#!{shutil.which('bash')}\n{text}\n")
        file.chmod(0o755)

    def debian(self, release):
        lists = self.root / "lists" # of the packages that are offered, once they have been fetched
        self.program("dpkg-query", f'while read -r name; do [[ $name != "${{@: -1}}" ]] || printf installed; done < {self.installed}')
        self.program("apt-cache", 'shift; for name; do\n'
                     f'  if grep -qx "$name" {lists} {self.installed} 2> /dev/null; then\n'
                     '    printf "%s:\\n  Installed: (none)\\n  Candidate: 1.0\\n" "$name"\n'
                     '  fi\ndone')
        self.program("apt-get", 'if [[ $1 = update ]]; then\n'
                     f'  printf "%s\\n" {" ".join(OFFERS[release])} > {lists}\n'
                     'else\n  for name; do\n    [[ $name = -* || $name = install ]] && continue\n'
                     f'    grep -qx "$name" {lists} || {{ echo "E: no package $name" >&2; exit 100; }}\n'
                     f'    echo "$name" >> {self.installed}\n  done\nfi')
        self.program("sudo", f'touch {self.root_rights}; exec "$@"')
        (self.root / "bin/grep").symlink_to(os.path.realpath(shutil.which("grep")))
        (self.root / "bin/touch").symlink_to(os.path.realpath(shutil.which("touch")))

    def run_bash(self, text):
        return subprocess.run([shutil.which("bash"), "-c", f"set -euo pipefail; source scripts/set-up.sh; {text}"],
                              cwd=self.root, env={"PATH": f"{self.root}/bin"}, capture_output=True, text=True, check=False)

    def install(self, *sections):
        return self.run_bash(f"install_packages {' '.join(sections)}; echo and the build goes on")

    def what_is_installed(self):
        return self.installed.read_text().split()

    def test_each_release_gets_what_it_offers(self):
        for release, other_name in ((12, "old-name"), (13, "new-name")):
            with self.subTest(release=release):
                self.debian(release)
                done = self.install("build")
                self.assertEqual((done.returncode, done.stdout), (0, "and the build goes on\n"), done.stderr)
                self.assertEqual(self.what_is_installed(), ["compiler", other_name, "sound-dev"])
                self.setUp()

    def test_what_is_there_needs_neither_rights_nor_network(self):
        self.debian(13)
        self.install("build", "test")
        self.root_rights.unlink(missing_ok=True)
        self.program("apt-get", "exit 1")
        done = self.install("build", "test")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "and the build goes on\n", ""))
        self.assertFalse(self.root_rights.exists())

    def test_users_install_with_sudo_and_root_without(self):
        self.debian(13)
        self.install("build")
        self.assertEqual(self.root_rights.exists(), os.geteuid() != 0)

    def test_the_package_depends_on_what_the_release_offers(self):
        for release, other_name in ((12, "old-name"), (13, "new-name")):
            with self.subTest(release=release):
                self.debian(release)
                self.install("build")
                self.assertEqual(self.run_bash("packages_of build").stdout.split(), ["compiler", other_name, "sound-dev"])
                self.setUp()

    def test_without_apt_one_sentence_names_what_is_missing(self):
        self.program("compile")
        self.program("pkg-config", '[[ $2 = sound ]]')
        done = self.install("build", "test")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertEqual(done.stderr, "This system has no apt, so please install what is missing: "
                                      "pkgconfig(sound-more) /usr/bin/tool\n")

    def test_without_apt_and_pkg_config_every_module_is_missing(self):
        done = self.install("build")
        self.assertEqual(done.stderr, "This system has no apt, so please install what is missing: "
                                      "/usr/bin/compile pkgconfig(sound) pkgconfig(sound-more)\n")

    def test_without_apt_the_build_goes_on_when_all_is_there(self):
        self.program("compile")
        self.program("pkg-config")
        done = self.install("build")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "and the build goes on\n", ""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
