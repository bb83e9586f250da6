"""Which names scripts/check-reference lets go without words of their own."""
import importlib.machinery
import importlib.util
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LOADER = importlib.machinery.SourceFileLoader("check_reference", str(ROOT / "scripts/check-reference"))
check_reference = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_reference", LOADER))
LOADER.exec_module(check_reference)


def passes(member, of="class blocxx::Socket", source="int x;\n", line=1, folder="blocxx"):
    with tempfile.TemporaryDirectory() as place:
        path = Path(place) / folder / "Header.hpp"
        path.parent.mkdir()
        path.write_text(source)
        return check_reference.speaks_for_itself(path, line, f"Member {member} of {of} is not documented.")


class CheckReference(unittest.TestCase):
    def test_a_name_without_words_is_found(self):
        self.assertFalse(passes("getfd() const (function)"))
        self.assertFalse(passes("Socket(int descriptor) (function)"))
        self.assertFalse(passes("size() const (function)"))
        self.assertFalse(passes("UInt8 (typedef)", "namespace blocxx"))

    def test_copies_comparisons_and_swap(self):
        self.assertTrue(passes("Socket(const Socket &other) (function)"))
        self.assertTrue(passes("Socket(Socket &&other) noexcept (function)"))
        self.assertTrue(passes("operator==(const Socket &left, const Socket &right) (function)"))
        self.assertTrue(passes("swap(Socket &other) noexcept (function)"))

    def test_what_the_standard_library_has_as_well(self):
        self.assertTrue(passes("size() const (function)", "class blocxx::Array< T >"))
        self.assertFalse(passes("contains(const T &value) const (function)", "class blocxx::Array< T >"))
        self.assertTrue(passes("underflow() override (function)"))

    def test_members_of_a_named_group(self):
        source = "/// @name Numbers\n/// @{\nint a;\n/// @}\nint b;\n"
        self.assertTrue(passes("a (variable)", source=source, line=3))
        self.assertFalse(passes("b (variable)", source=source, line=5))

    def test_details(self):
        self.assertTrue(passes("f() (function)", folder="internal"))
        self.assertTrue(passes("f() (function)", "namespace blocxx::ArrayDetail"))
        self.assertTrue(passes("F(x) (macro definition)", source="/// @internal For the others.\n#define F(x)\n", line=2))
        self.assertFalse(passes("F(x) (macro definition)", source="// For the others.\n#define F(x)\n", line=2))


if __name__ == "__main__":
    unittest.main()
