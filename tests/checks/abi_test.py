"""Lets scripts/abi and tests/abi/exported_symbols.py compare small libraries of its own."""
import argparse
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LIBRARIES = ["libzolcommon", "libzol_blocxx", "libzol_openwbem", "libzol_http"]
SHOWN = '__attribute__((visibility("default"))) '
RELEASED = f"{SHOWN}int first(int x) {{ return x; }} {SHOWN}int second() {{ return 2; }}\n"
COMPILER = ""


def build(folder, source, version="12.2.0"):
    """A build folder with four libraries of one source."""
    (folder / "lib").mkdir(parents=True, exist_ok=True)
    configured = folder / "CMakeFiles/3.25"
    configured.mkdir(parents=True, exist_ok=True)
    (configured / "CMakeCXXCompiler.cmake").write_text(
        f'set(CMAKE_CXX_COMPILER_ID "GNU")\nset(CMAKE_CXX_COMPILER_VERSION "{version}")\n')
    one = folder / "lib" / f"{LIBRARIES[0]}.so"
    subprocess.run([COMPILER, "-shared", "-fPIC", "-g", "-fvisibility=hidden", "-x", "c++", "-", "-o", one], input=source,
                   text=True, check=True, timeout=60)
    for name in LIBRARIES[1:]:
        (folder / "lib" / f"{name}.so").write_bytes(one.read_bytes())
    return folder


def run(*command):
    done = subprocess.run([sys.executable, *map(str, command)], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=60, check=False)
    return done.returncode, done.stdout


class Abi(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def abi(self, build_folder, *options):
        return run(ROOT / "scripts/abi", "--build", build_folder, "--baseline", self.folder / "baseline", *options)

    def compared_with_the_release(self, source, version="12.2.0"):
        self.assertEqual(self.abi(build(self.folder / "released", RELEASED), "--update")[0], 0)
        return self.abi(build(self.folder / "now", source, version))

    def test_the_same_interface_passes(self):
        self.assertEqual(self.compared_with_the_release(RELEASED),
                         (0, "abi: 4 libraries as programs of the last release expect them\n"))

    def test_a_new_function_passes(self):
        self.assertEqual(self.compared_with_the_release(RELEASED + f"{SHOWN}int third() {{ return 3; }}\n")[0], 0)

    def test_a_removed_function_is_named_and_fails(self):
        status, output = self.compared_with_the_release(f"{SHOWN}int first(int x) {{ return x; }}\n")
        self.assertEqual(status, 1)
        self.assertIn("libzol_http: its binary interface", output)
        self.assertIn("second", output)
        self.assertIn("docs/abi.md", output)

    def test_another_result_fails(self):
        self.assertEqual(self.compared_with_the_release(RELEASED.replace("int second()", "long second()"))[0], 1)

    def test_libraries_of_another_compiler_are_not_compared(self):
        status, output = self.compared_with_the_release("", version="13.1.0")
        self.assertEqual(status, 0)
        self.assertIn("not compared: the baseline is of GNU 12, these libraries of GNU 13", output)

    def test_a_patch_level_of_the_compiler_is_no_other_compiler(self):
        self.assertEqual(self.compared_with_the_release("", version="12.4.0")[0], 1)


class ExportedSymbols(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def compared_with_the_lists(self, source):
        def names(build_folder, *options):
            return run(ROOT / "tests/abi/exported_symbols.py", "--libraries", build_folder / "lib", "--lists", self.folder,
                       *options)
        self.assertEqual(names(build(self.folder / "listed", RELEASED), "--update")[0], 0)
        return names(build(self.folder / "now", source))

    def test_what_is_listed_passes(self):
        self.assertEqual(self.compared_with_the_lists(RELEASED)[0], 0)

    def test_what_is_not_listed_fails(self):
        status, output = self.compared_with_the_lists(RELEASED + f"{SHOWN}int third() {{ return 3; }}\n")
        self.assertEqual(status, 1)
        self.assertIn("libzolcommon exports third(), which is not listed", output)

    def test_what_is_no_longer_exported_fails(self):
        status, output = self.compared_with_the_lists(f"{SHOWN}int first(int x) {{ return x; }}\n")
        self.assertEqual(status, 1)
        self.assertIn("libzol_http no longer exports second()", output)

    def test_an_instantiation_of_a_template_fails(self):
        status, output = self.compared_with_the_lists(
            RELEASED + f"template <class T> {SHOWN}T same(T x) {{ return x; }} template int same(int);\n")
        self.assertEqual(status, 1)
        self.assertIn("libzol_http exports an instantiation of a template: int same<int>(int)", output)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    args, others = parser.parse_known_args()
    COMPILER = args.compiler
    unittest.main(argv=[sys.argv[0], *others])
