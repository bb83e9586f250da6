# Short names for the scripts; everything they do is in scripts/ and in the CMake presets.
.PHONY: all test demo benchmark check reference install clean

all:
	scripts/install-dependencies build test
	cmake --preset release
	cmake --build --preset release

test demo benchmark check:
	scripts/$@

reference:
	scripts/install-dependencies reference
	doxygen docs/Doxyfile

install: all
	cmake --install build/release

clean:
	rm -rf build
