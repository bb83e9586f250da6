# make && sudo make install: builds the libraries and the tools, then installs what was built. Neither fetches a package;
# scripts/install-dependencies does. PREFIX is where to install (/usr/local unless given), DESTDIR a root put before it.
#
# The other targets are short names for the scripts.
.PHONY: all install test demo benchmark check reference clean
BUILD = build/install

all:
	cmake --preset install -B "$(BUILD)" $(if $(PREFIX),"-DCMAKE_INSTALL_PREFIX=$(PREFIX)")
	cmake --build "$(BUILD)"

# No dependency on all: root would build, and leave files in the build folder that its owner cannot write.
install:
	@test -e "$(BUILD)/cmake_install.cmake" || { echo "make install: nothing is built yet; run make first" >&2; exit 1; }
	cmake --install "$(BUILD)" $(if $(PREFIX),--prefix "$(PREFIX)")

test demo benchmark check:
	scripts/$@

reference:
	scripts/install-dependencies reference
	doxygen docs/Doxyfile

clean:
	rm -rf build
