# Everything that has to be there before the build, and what needs it. All that is missing is reported at once.
set(zol_missing "")

# zol_need(<name> FOR <what needs it> DEBIAN <package> OFF <how to do without> FIND <arguments of find_package...>)
#
# A macro, because find_package sets variables that its caller uses. The targets are global: a program of a surrounding
# project that links zol::http links them as well.
macro(zol_need name)
  cmake_parse_arguments(need "" "FOR;DEBIAN;OFF" "FIND" ${ARGN})
  find_package(${need_FIND} QUIET GLOBAL)
  list(GET need_FIND 0 need_package)
  if(NOT ${need_package}_FOUND)
    string(APPEND zol_missing
      "\n  ${name} is missing. ${need_FOR} it (Debian: ${need_DEBIAN}). ${need_OFF}")
  endif()
endmacro()

zol_need("OpenSSL 3.0 or newer" FIND OpenSSL 3.0 DEBIAN libssl-dev
  FOR "The library's TLS connections and content BIO need"
  OFF "The library cannot be built without it; OPENSSL_ROOT_DIR names a place of its own.")
zol_need("zlib" FIND ZLIB DEBIAN zlib1g-dev
  FOR "The library's decoding of compressed bodies needs"
  OFF "The library cannot be built without it; ZLIB_ROOT names a place of its own.")
zol_need("A thread library" FIND Threads DEBIAN libc6-dev
  FOR "The library needs"
  OFF "The library cannot be built without it.")

if(ZOL_BUILD_TOOLS)
  zol_need("CLI11" FIND CLI11 DEBIAN libcli11-dev
    FOR "zolget and the demonstration server need"
    OFF "-DZOL_BUILD_TOOLS=OFF builds without them.")
endif()
if(ZOL_BUILD_TESTS)
  zol_need("GoogleTest" FIND GTest DEBIAN "libgtest-dev libgmock-dev"
    FOR "The tests need"
    OFF "-DZOL_BUILD_TESTS=OFF builds without them.")
  zol_need("Python 3" FIND Python3 COMPONENTS Interpreter DEBIAN python3
    FOR "The tests need"
    OFF "-DZOL_BUILD_TESTS=OFF builds without them.")
endif()
if(ZOL_BUILD_BENCHMARKS AND ZOL_BENCHMARK_PEERS)
  set(need_switch "-DZOL_BENCHMARK_PEERS=OFF builds the benchmarks of this library alone.")
  zol_need("Boost 1.81 or newer" FIND Boost 1.81 DEBIAN libboost1.81-dev FOR "The benchmarks compare with" OFF "${need_switch}")
  zol_need("libcurl" FIND CURL DEBIAN libcurl4-openssl-dev FOR "The benchmarks compare with" OFF "${need_switch}")
  zol_need("Poco" FIND Poco COMPONENTS Net DEBIAN libpoco-dev FOR "The benchmarks compare with" OFF "${need_switch}")
  zol_need("Google Benchmark" FIND benchmark DEBIAN libbenchmark-dev FOR "The program micro needs" OFF "${need_switch}")
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(GMime QUIET IMPORTED_TARGET gmime-3.0)
  endif()
  if(NOT GMime_FOUND)
    string(APPEND zol_missing "\n  GMime 3.0 (found through pkg-config) is missing. The benchmarks compare with it "
      "(Debian: libgmime-3.0-dev pkg-config). ${need_switch}")
  endif()
endif()

if(zol_missing)
  message(FATAL_ERROR "What libzol_http is to be built with is not complete.${zol_missing}")
endif()
