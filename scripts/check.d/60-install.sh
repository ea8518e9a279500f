#!/usr/bin/env bash
# Installs into a temporary prefix, builds a host program against it twice
# (CMake's find_package and pkg-config) and runs it, runs the installed tool,
# builds the host once more with the project added by add_subdirectory.  The
# push parser's example is built against the installed library too, and run.
# The Debian packages have a stage of their own (65-packages).
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
build_in build

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install build --prefix "$prefix" >/dev/null

for f in include/vorn_xml.h include/vorn_xml_writer.h include/vorn_xml_position.h bin/vornxml \
         lib/libvornxml.so lib/libvornxml.so.2 lib/cmake/VornXml/VornXmlConfig.cmake \
         lib/cmake/VornXml/VornXmlConfigVersion.cmake lib/pkgconfig/vornxml.pc share/man/man1/vornxml.1.gz \
         include/vorn_xml_version.h include/vorn_xml_export.h; do
    [ -e "$prefix/$f" ] || { echo "install: $f is missing"; exit 1; }
done
[ -L "$prefix/lib/libvornxml.so" ] && [ -L "$prefix/lib/libvornxml.so.2" ] ||
    { echo "install: the SONAME links are missing"; exit 1; }
readelf -d "$prefix/lib/libvornxml.so" | grep 'SONAME.*libvornxml.so.2' ||
    { echo "install: wrong SONAME"; exit 1; }

expected='<?xml version="1.0"?>
<a x="1"><b>t &amp; u</b></a>'
check_consumer() {
    local exe=$1 out
    out=$(LD_LIBRARY_PATH="$prefix/lib" "$exe")
    [ "$out" = "$expected" ] || { echo "install: $exe wrote: $out"; exit 1; }
    # A refused document: status 1 and one message, placed at the end tag.
    # The unit tests pin the message texts; here only the outcome counts.
    local status=0
    out=$(LD_LIBRARY_PATH="$prefix/lib" "$exe" '<?xml version="1.0"?>
<a></b>') || status=$?
    [ $status = 1 ] && [ "$(wc -l <<<"$out")" = 1 ] && [[ $out == "2:4: "?* ]] ||
        { echo "install: $exe exited with $status and reported: $out"; exit 1; }
}

# One version, everywhere: the header, pkg-config, the CMake package, the tool.
version=$(sed -n 's/^project(vornxml VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
grep -q "VORN_XML_VERSION_STRING \"$version\"" "$prefix/include/vorn_xml_version.h" &&
    [ "$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --modversion vornxml)" = "$version" ] &&
    grep -q "set(PACKAGE_VERSION \"$version\")" "$prefix/lib/cmake/VornXml/VornXmlConfigVersion.cmake" &&
    [ "$("$prefix/bin/vornxml" --version)" = "vornxml $version" ] &&
    zgrep -q "vornxml $version" "$prefix/share/man/man1/vornxml.1.gz" ||
    { echo "install: not every installed file says version $version"; exit 1; }

cmake -S tests/install/consumer -B "$work/with-cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/with-cmake" >/dev/null
check_consumer "$work/with-cmake/consumer"

# shellcheck disable=SC2046
c++ -std=c++17 tests/install/consumer/consumer.cpp -o "$work/with-pkg-config" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs vornxml)
check_consumer "$work/with-pkg-config"

# The push parser's example, built against the installed library, reads a
# pipe that delivers the document in pieces.
# shellcheck disable=SC2046
c++ -std=c++17 examples/push_poll.cpp -o "$work/push_poll" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs vornxml)
out=$( (head -c 300 examples/catalog.xml; sleep 0.2; tail -c +301 examples/catalog.xml) |
    LD_LIBRARY_PATH="$prefix/lib" "$work/push_poll")
[ "$out" = "<stdin>: 17 elements" ] || { echo "install: push_poll wrote: $out"; exit 1; }

"$prefix/bin/vornxml" --quiet examples/catalog.xml
# The man page is made from the help text: every option of --help is in it.
for option in $("$prefix/bin/vornxml" --help | grep -o -- '--[a-z]*' | sort -u); do
    zgrep -F -- "$option" "$prefix/share/man/man1/vornxml.1.gz" >/dev/null ||
        { echo "install: the man page lacks $option"; exit 1; }
done

# A host that adds the project with add_subdirectory builds the library and
# links it, and gets none of the tests, benchmarks or examples.
mkdir -p "$work/host"
cp tests/install/consumer/consumer.cpp "$work/host/"
cat >"$work/host/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
add_subdirectory("$VORNXML_ROOT" vornxml)
add_executable(consumer consumer.cpp)
target_link_libraries(consumer PRIVATE vornxml)
EOF
cmake -S "$work/host" -B "$work/host/build" >/dev/null
if cmake --build "$work/host/build" --target help | grep -E ' (collector_test|vornxml_bench|example_[a-z_]+)$'; then
    echo "install: a host's add_subdirectory build has the targets above"
    exit 1
fi
cmake --build "$work/host/build" -j "$VORNXML_JOBS" --target consumer >/dev/null
check_consumer "$work/host/build/consumer"

echo "install: prefix, versions, find_package, pkg-config, tool and add_subdirectory checked"
