"""Plants what scripts/check-includes must find in small trees of its own."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-includes"
BLOCXX, HTTP = "src/foundation/blocxx", "src/common/http"

# A tree without a fault: a header and its source in each of three places, and a private header that is used.
SOUND = {
    f"{BLOCXX}/include/blocxx/String.hpp": "",
    f"{BLOCXX}/core/String.cpp": '#include "blocxx/String.hpp"\n#include "core/Ascii.hpp"\n',
    f"{BLOCXX}/core/Ascii.hpp": "#include <string>\n",
    f"{BLOCXX}/include/blocxx/Socket.hpp": '#include "blocxx/String.hpp"\n',
    f"{BLOCXX}/io/Socket.cpp": '#include "blocxx/Socket.hpp"\n',
    f"{HTTP}/include/zol/http/Headers.hpp": '#include "blocxx/String.hpp"\n',
    f"{HTTP}/message/Headers.cpp": '#include "zol/http/Headers.hpp"\n',
    f"{HTTP}/include/zol/http/Response.hpp": '#include "zol/http/Headers.hpp"\n',
    f"{HTTP}/response/Response.cpp": '#include "zol/http/Response.hpp"\n',
}


def check(changes, *arguments):
    """The status and the output of the check for the sound tree with these files in it."""
    with tempfile.TemporaryDirectory() as folder:
        for name, text in {**SOUND, **changes}.items():
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        done = subprocess.run([sys.executable, SCRIPT, "--tree", folder, *arguments], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60, check=False)
        return done.returncode, done.stdout


class CheckIncludes(unittest.TestCase):
    def expect(self, message, changes):
        status, output = check(changes)
        self.assertEqual(status, 1, output)
        self.assertIn(message, output)
        self.assertIn("1 findings", output)

    def test_a_sound_tree_passes(self):
        status, output = check({})
        self.assertEqual(status, 0, output)

    def test_an_empty_tree_does_not_pass(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([sys.executable, SCRIPT, "--tree", folder], capture_output=True, timeout=60, check=False)
            self.assertEqual(done.returncode, 1)

    def test_an_include_of_a_layer_above_is_found(self):
        self.expect("is in a layer above",
                    {f"{BLOCXX}/include/blocxx/Socket.hpp": '#include "zol/http/Headers.hpp"\n'})

    def test_an_include_that_runs_up_between_folders_is_found(self):
        status, output = check({f"{HTTP}/message/Headers.cpp":
                                '#include "zol/http/Headers.hpp"\n#include "zol/http/Response.hpp"\n'})
        self.assertEqual(status, 1)
        self.assertIn("belongs to response, which message may not use", output)
        self.assertIn("these folders include one another", output)

    def test_an_include_between_folders_side_by_side_is_found(self):
        self.expect("belongs to io, which logging may not use",
                    {f"{BLOCXX}/include/blocxx/LogLevel.hpp": '#include "blocxx/Socket.hpp"\n'})

    def test_files_in_a_circle_are_found(self):
        self.expect(f"these include one another: {BLOCXX}/core/Ascii.hpp, {BLOCXX}/core/Other.hpp",
                    {f"{BLOCXX}/core/Ascii.hpp": '#include "core/Other.hpp"\n',
                     f"{BLOCXX}/core/Other.hpp": '#include "core/Ascii.hpp"\n'})

    def test_a_circle_through_a_source_is_found(self):
        self.expect("these include one another: src/common/http Headers, src/common/http Version",
                    {f"{HTTP}/include/zol/http/Version.hpp": '#include "zol/http/Headers.hpp"\n',
                     f"{HTTP}/message/Headers.cpp":
                     '#include "zol/http/Headers.hpp"\n#include "zol/http/Version.hpp"\n'})

    def test_a_source_without_a_header_is_found(self):
        self.expect("Other.cpp: no header has its name", {f"{BLOCXX}/core/Other.cpp": '#include "blocxx/String.hpp"\n'})

    def test_a_source_that_includes_another_header_first_is_found(self):
        self.expect(f"does not include {BLOCXX}/include/blocxx/String.hpp first",
                    {f"{BLOCXX}/core/String.cpp": '#include "core/Ascii.hpp"\n#include "blocxx/String.hpp"\n'})

    def test_a_private_header_included_without_its_folder_is_found(self):
        self.expect('"Ascii.hpp" is not included by its folder',
                    {f"{BLOCXX}/core/String.cpp": '#include "blocxx/String.hpp"\n#include "Ascii.hpp"\n'})

    def test_a_private_header_of_another_module_is_found(self):
        self.expect('"core/Ascii.hpp" is a private header of src/foundation/blocxx',
                    {f"{HTTP}/message/Headers.cpp": '#include "zol/http/Headers.hpp"\n#include "core/Ascii.hpp"\n'})

    def test_a_private_header_that_nothing_includes_is_found(self):
        self.expect("Unused.hpp: is included by no file", {f"{BLOCXX}/core/Unused.hpp": ""})

    def test_a_public_header_of_no_known_folder_is_found(self):
        self.expect("no source has its name", {f"{HTTP}/include/zol/http/New.hpp": ""})

    def test_the_table_counts_and_marks(self):
        status, output = check({f"{BLOCXX}/include/blocxx/String.hpp": '#include "blocxx/Socket.hpp"\n'}, "--table")
        self.assertEqual(status, 0)
        self.assertIn(f"| {HTTP} | {BLOCXX} | 1 |  |", output)
        self.assertIn(f"| {BLOCXX} io | core | 1 |  |", output)
        self.assertIn(f"| {BLOCXX} core | io | 1 | runs up |", output)


if __name__ == "__main__":
    unittest.main()
