"""Lets scripts/release make releases of a small repository, with stand-ins for what takes long to build."""
import os
import re
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CONTACT = "Tests <tests@example.org>"
CHANGELOG = """# Changelog

## [Unreleased]

### Added

- Something new.

## [{version}] - 2020-01-02

### Added

- The first thing.
"""
ABI = """#!/bin/sh -e
[ "$1" = --update ]
grep "^  VERSION" CMakeLists.txt >baseline
"""
PACKAGES = """#!/bin/sh -e
mkdir -p build/packages/deb
echo "$2, $SOURCE_DATE_EPOCH, $(ls)" >build/packages/deb/zolget.deb
"""


class Release(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.repository = self.folder / "repository"
        (self.folder / "temporary").mkdir()
        (self.repository / "scripts").mkdir(parents=True)
        settings = (ROOT / "CMakeLists.txt").read_text()
        self.version = re.search(r"^  VERSION (\d+\.\d+\.\d+)$", settings, re.M).group(1)
        first, second, _ = self.version.split(".")
        self.next = f"{first}.{int(second) + 1}.0"
        self.after_next = f"{first}.{int(second) + 1}.1"
        self.write("CMakeLists.txt", settings)
        self.write("CHANGELOG.md", CHANGELOG.format(version=self.version))
        self.write(".gitignore", "/build/\n")
        self.write("baseline", "of the last release\n")
        for name, text in (("release", (ROOT / "scripts/release").read_text()), ("abi", ABI), ("packages", PACKAGES)):
            self.write(f"scripts/{name}", text)
            (self.repository / "scripts" / name).chmod(0o755)
        self.environment = {
            **{name: value for name, value in os.environ.items() if not name.startswith("GIT_")},
            "GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_NOSYSTEM": "1", "TMPDIR": str(self.folder / "temporary"),
            "GIT_AUTHOR_NAME": "Tests", "GIT_AUTHOR_EMAIL": "tests@example.org", "GIT_COMMITTER_NAME": "Tests",
            "GIT_COMMITTER_EMAIL": "tests@example.org"}
        self.git("init", "--quiet", "--initial-branch=main")
        self.commit()

    def write(self, name, text):
        (self.repository / name).write_text(text)

    def read(self, name):
        return (self.repository / name).read_text()

    def git(self, *arguments):
        return subprocess.run(["git", *arguments], cwd=self.repository, env=self.environment, text=True, timeout=60,
                              stdout=subprocess.PIPE, check=True).stdout

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "A change")

    def release(self, *arguments):
        done = subprocess.run([self.repository / "scripts/release", *arguments], env=self.environment, text=True, timeout=120,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout

    def state(self):
        """All that a release could leave behind."""
        files = sorted(str(path) for path in self.folder.rglob("*") if ".git" not in path.parts)
        return (files, self.git("for-each-ref"), self.git("status", "--porcelain", "--ignored"), self.git("worktree", "list"),
                self.git("count-objects"))

    def refused(self, reason, *arguments):
        before = self.state()
        status, output = self.release(*(arguments or ("--no-build", self.next)))
        self.assertEqual(status, 1, output)
        self.assertIn(reason, output)
        self.assertEqual(self.state(), before)

    def test_version_changelog_commit_and_tag(self):
        self.assertEqual(self.release("--no-build", self.next)[0], 0)
        self.assertIn(f"  VERSION {self.next}\n", self.read("CMakeLists.txt"))
        self.assertRegex(self.read("CHANGELOG.md"), rf"\A# Changelog\n\n## \[Unreleased\]\n\n## \[{self.next}\] - "
                         rf"\d{{4}}-\d\d-\d\d\n\n### Added\n\n- Something new\.\n\n## \[{self.version}\] - 2020-01-02\n")
        self.assertEqual(self.git("status", "--porcelain"), "")
        self.assertEqual(self.git("log", "-1", "--format=%s %D"), f"Release {self.next} HEAD -> main, tag: v{self.next}\n")
        self.assertIn("### Added\n\n- Something new.", self.git("tag", "--list", "--format=%(contents)", f"v{self.next}"))
        self.assertEqual(self.git("diff", "--stat", "--name-only", "HEAD~"), "CHANGELOG.md\nCMakeLists.txt\n")
        self.assertEqual(list((self.folder / "temporary").iterdir()), [])

    def test_archive_packages_checksums_and_interface(self):
        status, output = self.release("--contact", CONTACT, self.next)
        self.assertEqual(status, 0, output)
        place = self.repository / "build/dist" / self.next
        name = f"libzol_http-{self.next}"
        self.assertEqual({path.name for path in place.iterdir()}, {f"{name}.tar.gz", "zolget.deb", "SHA256SUMS"})
        subprocess.run(["sha256sum", "--check", "--strict", "--quiet", "SHA256SUMS"], cwd=place, timeout=60, check=True)
        self.assertEqual(len((place / "SHA256SUMS").read_text().splitlines()), 2)
        with tarfile.open(place / f"{name}.tar.gz") as archive:
            settings = archive.extractfile(f"{name}/CMakeLists.txt").read().decode()
        self.assertEqual(settings, self.read("CMakeLists.txt"))
        time = self.git("log", "-1", "--format=%ct").strip()
        self.assertEqual((place / "zolget.deb").read_text(),
                         f"{CONTACT}, {time}, CHANGELOG.md\nCMakeLists.txt\nbaseline\nbuild\nscripts\n")
        self.assertEqual(self.git("show", "HEAD:baseline"), f"  VERSION {self.next}\n")

    def test_two_releases(self):
        self.assertEqual(self.release("--no-build", self.next)[0], 0)
        self.refused('nothing under "Unreleased"', "--no-build", self.after_next)
        self.write("CHANGELOG.md", self.read("CHANGELOG.md").replace("[Unreleased]\n", "[Unreleased]\n\n- More.\n"))
        self.commit()
        self.assertEqual(self.release("--no-build", self.after_next)[0], 0)
        self.assertEqual(self.git("tag", "--list"), f"v{self.next}\nv{self.after_next}\n")

    def test_a_dry_run_shows_the_changes_and_leaves_nothing_behind(self):
        before = self.state()
        status, output = self.release("--dry-run", self.next)
        self.assertEqual(status, 0, output)
        self.assertIn(f"+  VERSION {self.next}", output)
        self.assertRegex(output, rf"\+## \[{self.next}\] - \d{{4}}-\d\d-\d\d")
        self.assertIn(f"libzol_http-{self.next}.tar.gz", output)
        self.assertEqual(self.state(), before)

    def test_changes_that_are_not_committed(self):
        self.write("CMakeLists.txt", self.read("CMakeLists.txt") + "# A change.\n")
        self.refused("not committed")

    def test_files_that_are_not_committed(self):
        self.write("new", "")
        self.refused("not committed")

    def test_a_tag_that_is_there(self):
        self.git("tag", f"v{self.next}")
        self.refused("is there already")

    def test_nothing_has_changed(self):
        self.write("CHANGELOG.md", CHANGELOG.format(version=self.version).replace("- Something new.\n", ""))
        self.commit()
        self.refused('nothing under "Unreleased"')

    def test_a_changelog_without_the_section(self):
        self.write("CHANGELOG.md", CHANGELOG.format(version=self.version).replace("[Unreleased]", "[0.9.0]"))
        self.commit()
        self.refused('nothing under "Unreleased"')

    def test_a_changelog_that_has_the_version(self):
        self.write("CHANGELOG.md", CHANGELOG.format(version=self.next))
        self.commit()
        self.refused("already")

    def test_versions_that_do_not_come_after_the_last(self):
        for version in (self.version, "0.9.9"):
            self.refused("does not come after", "--no-build", version)

    def test_what_is_no_version(self):
        for version in ("2.1", "v2.1.0", "2.1.0-rc1", "02.1.0", "two"):
            self.refused("three numbers", "--no-build", version)

    def test_two_versions(self):
        self.write("CMakeLists.txt", self.read("CMakeLists.txt") + "  VERSION 9.9.9\n")
        self.commit()
        self.refused("2 lines with the version")

    def test_no_branch(self):
        self.git("checkout", "--quiet", "--detach")
        self.refused("no branch")

    def test_nobody_maintains_the_packages(self):
        self.refused("who maintains the packages", self.next)

    def test_a_build_that_fails_releases_nothing(self):
        for name, text in (("packages", PACKAGES), ("abi", ABI)):
            self.write(f"scripts/{name}", f"{text}exit 7\n")
            self.commit()
            before = self.state()[:-1]  # a commit that nothing leads to is git's to collect
            status, output = self.release("--contact", CONTACT, self.next)
            self.assertEqual(status, 1, output)
            self.assertIn("nothing has been released", output)
            self.assertEqual(self.state()[:-1], before)
            self.write(f"scripts/{name}", text)


class VersionIsInOnePlace(unittest.TestCase):
    def test_no_other_file_of_the_build_has_it(self):
        settings = (ROOT / "CMakeLists.txt").read_text()
        version = re.search(r"^  VERSION (\d+\.\d+\.\d+)$", settings, re.M).group(1)
        self.assertEqual(settings.count(version), 1)
        files = [path for folder in ("cmake", "packaging", "scripts", "src", "tools") for path in (ROOT / folder).rglob("*")
                 if path.is_file() and path.suffix != ".pyc"]
        self.assertGreater(len(files), 100)
        whole = re.compile(rf"(?<![\d.]){re.escape(version)}(?![\d.])".encode())
        self.assertEqual([str(path.relative_to(ROOT)) for path in files if whole.search(path.read_bytes())], [])


if __name__ == "__main__":
    unittest.main()
