"""Lets scripts/check-warnings parse small sources of its own."""
import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-warnings"
SOUND, SUSPECT, WRONG = "int main() {}\n", "int main() { int unused; }\n", "int main( {}\n"


def check(sources):
    """The status and the output for a build that compiles these sources; what else the folder holds then."""
    with tempfile.TemporaryDirectory() as folder:
        entries = []
        for name, text in sources.items():
            path = Path(folder) / name
            path.write_text(text)
            entries.append({"directory": folder, "file": str(path),
                            "command": f'c++ -Wall "{path}" -o "{path}.o" -c'})
        (Path(folder) / "compile_commands.json").write_text(json.dumps(entries))
        done = subprocess.run([sys.executable, SCRIPT, folder], text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=60, check=False)
        written = {path.name for path in Path(folder).iterdir()} - {*sources, "compile_commands.json"}
        return done.returncode, done.stdout, written


class CheckWarnings(unittest.TestCase):
    def test_sources_without_a_warning_pass(self):
        self.assertEqual(check({"a.cpp": SOUND, "b b.cpp": SOUND}), (0, "warnings: 2 sources without one\n", set()))

    def test_a_warning_is_shown_and_fails(self):
        status, output, _ = check({"a.cpp": SOUND, "b.cpp": SUSPECT})
        self.assertEqual(status, 1)
        self.assertIn("unused", output)
        self.assertIn("1 of 2 sources", output)

    def test_an_error_fails(self):
        self.assertEqual(check({"a.cpp": WRONG})[0], 1)

    def test_a_build_that_compiles_nothing_fails(self):
        self.assertEqual(check({})[0], 1)


if __name__ == "__main__":
    unittest.main()
