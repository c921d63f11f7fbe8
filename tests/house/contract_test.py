#!/usr/bin/env python3
"""Checks that docs/contract.md names what the sources offer to other programs.

Usage: contract_test.py PROJECT_ROOT

Found in the sources, by their form, are messages of the log, environment variables, settings, members of JSON objects
and D-Bus properties. The beginning of each message and each name must stand in the document in backquotes.
"""
import pathlib
import re
import sys
import unittest

PROJECT = pathlib.Path(sys.argv.pop(1)) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]
TAGS = "app|rec|ts|check|diag|ts-test"


def matches(pattern, folder="src"):
    """The first group of each match in the C++ sources of that folder."""
    files = [f for f in (PROJECT / folder).rglob("*") if f.suffix in (".h", ".cpp")]
    return sorted({found for file in files for found in re.findall(pattern, file.read_text())})


class Contract(unittest.TestCase):
    def setUp(self):
        self.code = re.findall(r"`([^`\n]+)`", (PROJECT / "docs/contract.md").read_text())

    def assert_named(self, names, least):
        self.assertGreaterEqual(len(names), least, f"the sources are written in another way: {names}")
        self.assertEqual([], [name for name in names if name not in self.code])

    def test_the_beginning_of_every_log_message_is_in_the_contract(self):
        messages = matches(rf'"(\[(?:{TAGS})\] [^"\\]*)')
        self.assertGreaterEqual(len(messages), 40)
        self.assertEqual([], [message for message in messages
                              if not any(code.startswith(message) for code in self.code)])

    def test_every_tag_of_the_log_is_in_the_contract(self):
        tags = matches(r'(?:DebugLog::)?log\((?:std::string\()?"(\[[a-z-]+\])')
        self.assert_named(tags, 6)

    def test_every_environment_variable_is_in_the_contract(self):
        named = {word for code in self.code for word in re.findall(r"[A-Za-z_]+", code)}
        variables = matches(r'(?:getenv|environment)\("([A-Z_]+)"\)') + matches(r'"((?:LC|LANG|TAPDECK)[A-Z_]*)"')
        self.assertGreaterEqual(len(variables), 9)
        self.assertEqual([], [variable for variable in variables if variable not in named])

    def test_every_setting_is_in_the_contract(self):
        self.assert_named(matches(r'settings\.(?:string|boolean|setString|setBoolean)\("(\w+)"'), 3)

    def test_every_member_of_what_subcommands_print_as_json_is_in_the_contract(self):
        self.assert_named(matches(r'(?:\{|emplace_back\()"(\w+)", (?!Arguments)', "src/cli"), 22)

    def test_every_property_of_the_running_program_is_in_the_contract(self):
        self.assert_named(matches(r"Q_PROPERTY\(\w+ (\w+) READ", "src/platform/desktop"), 7)


if __name__ == "__main__":
    unittest.main()
