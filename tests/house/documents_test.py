#!/usr/bin/env python3
"""Checks that what the documents refer to exists: linked files, and names of sources in backquotes.

Usage: documents_test.py PROJECT_ROOT
"""
import pathlib
import re
import sys
import unittest

PROJECT = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = sorted([*PROJECT.glob("*.md"), *PROJECT.glob("docs/**/*.md")])
LINK = re.compile(r'\]\(([^)\s#]+)[^)]*\)|src="([^"]+)"')
SOURCE = re.compile(r"`((?:[\w.-]+/)*[\w.-]+\.(?:cpp|h|py|qml|cmake))`")
FOLDER_OF_SOURCES = re.compile(r"`((?:src|tests|scripts|bench|cmake|packaging|docs|data)/[\w./-]*)`")

UNIT = re.compile(r"`((?:\w+/)+\w+)`")  # a header with its source, named without a suffix, such as `base/debug_log`


def files():
    folders = ["src", "tests", "scripts", "bench", "cmake", "packaging", "docs", "data"]
    return ["/" + f.relative_to(PROJECT).as_posix() for folder in folders for f in (PROJECT / folder).rglob("*")]


class Documents(unittest.TestCase):
    def found(self, pattern):
        """(document, text) for each match."""
        matches = [(document, next(filter(None, match.groups()))) for document in DOCUMENTS
                   for match in pattern.finditer(document.read_text())]
        self.assertTrue(matches)
        return matches

    def test_every_linked_file_exists(self):
        self.assertEqual([], [(document.name, link) for document, link in self.found(LINK)
                              if "://" not in link and not (document.parent / link).exists()])

    def test_every_named_source_exists(self):
        known = files()
        # The header of another project, by which one of our own is checked.
        others = ["c-api.h"]
        self.assertEqual([], [(document.name, source) for document, source in self.found(SOURCE)
                              if source not in others and not any(file.endswith("/" + source) for file in known)])

    def test_every_unit_that_is_named_by_its_room_exists(self):
        rooms = {f.name for f in (PROJECT / "src").iterdir() if f.is_dir()}
        units = [(document, unit) for document, unit in self.found(UNIT) if unit.split("/")[0] in rooms]
        self.assertGreater(len(units), 20)
        self.assertEqual([], [(document.name, unit) for document, unit in units
                              if not (PROJECT / "src" / unit).is_dir() and not [*(PROJECT / "src").glob(unit + ".*")]])

    def test_every_named_folder_exists(self):
        self.assertEqual([], [(document.name, path) for document, path in self.found(FOLDER_OF_SOURCES)
                              if not (PROJECT / path).exists()])


if __name__ == "__main__":
    unittest.main()
