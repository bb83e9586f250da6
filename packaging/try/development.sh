# usage: development.sh PORT TLS_PORT
#
# In a clean system, as root: installs what a developer does, and builds an example of the documentation's in four ways:
# CMake and pkg-config, each with the shared and with the static libraries.
cd /try
url=http://127.0.0.1:$1/hello

fail() {
    echo "$1" >&2
    exit 1
}

apt-get install -y -qq --no-install-recommends ./libzol-http2_*.deb ./libzol-http-dev_*.deb ./libzol-http-doc_*.deb >/dev/null
apt-get install -y -qq --no-install-recommends g++ cmake make pkg-config binutils >/dev/null
cp /usr/share/doc/libzol-http-doc/examples/fetch_page.cpp .

# works PROGRAM LOADED...: it fetches a page, and of these libraries it loads those that are named, and no other.
works() {
    program=$1
    shift
    [ "$("$program" "$url")" = "Hello from the demo server." ] || fail "$program fetched something else"
    loaded=$(readelf -d "$program" | sed -n 's/.*Shared library: \[\(lib\(zol\|ssl\|z\.\)[^]]*\)\]/\1/p' | sort | tr '\n' ' ')
    [ "$loaded" = "${*:+$* }" ] || fail "$program loads \"$loaded\" instead of \"$*\""
    echo "$program fetches a page; it loads ${*:-no shared library}"
}

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(program LANGUAGES CXX)
find_package(zol_http 2 REQUIRED COMPONENTS static)
add_executable(cmake_shared fetch_page.cpp)
target_link_libraries(cmake_shared PRIVATE zol::http)
add_executable(cmake_static fetch_page.cpp)
target_link_libraries(cmake_static PRIVATE zol::http_static)
END
cmake -S . -B cmake >/dev/null
cmake --build cmake >/dev/null
works cmake/cmake_shared libzol_blocxx.so.6 libzol_http.so.2
works cmake/cmake_static libssl.so.3 libz.so.1

g++ -std=c++17 fetch_page.cpp -o pkgconfig_shared $(pkg-config --cflags --libs zol_http)
works ./pkgconfig_shared libzol_blocxx.so.6 libzol_http.so.2

# The C library's look-up of names is shared even then, and its linker says so.
g++ -std=c++17 -static fetch_page.cpp -o pkgconfig_static $(pkg-config --static --cflags --libs zol_http) 2>warnings ||
    fail "$(cat warnings)"
works ./pkgconfig_static

for program in /usr/share/doc/libzol-http-doc/examples/*.cpp; do
    g++ -std=c++17 "$program" -o example $(pkg-config --cflags --libs zol_http) || fail "$program"
done
echo "all examples can be built"
[ -s /usr/share/doc/libzol-http-doc/html/index.html ] || fail "there is no reference"
