#!/usr/bin/env bash
# Installs into a temporary prefix, builds a host program against it twice
# (CMake's find_package and pkg-config) and runs it, runs the installed tool,
# builds the host once more with the project added by add_subdirectory, then
# builds the Debian package and checks what it holds.  The push parser's
# example is built against the installed library too, and run.
set -euo pipefail
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
build_in build

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install build --prefix "$prefix" >/dev/null

for f in include/vorn_xml.h include/vorn_xml_writer.h include/vorn_xml_position.h bin/vornxml \
         lib/libvornxml.so lib/libvornxml.so.1 lib/cmake/VornXml/VornXmlConfig.cmake \
         lib/cmake/VornXml/VornXmlConfigVersion.cmake lib/pkgconfig/vornxml.pc share/man/man1/vornxml.1; do
    [ -e "$prefix/$f" ] || { echo "install: $f is missing"; exit 1; }
done
[ -L "$prefix/lib/libvornxml.so" ] && [ -L "$prefix/lib/libvornxml.so.1" ] ||
    { echo "install: the SONAME links are missing"; exit 1; }
readelf -d "$prefix/lib/libvornxml.so" | grep 'SONAME.*libvornxml.so.1' ||
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
    grep -F -- "$option" "$prefix/share/man/man1/vornxml.1" >/dev/null ||
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

(cd build && cpack -G DEB -B "$work/deb" >/dev/null)
deb=$(ls "$work"/deb/*.deb)
dpkg-deb -c "$deb" | awk '{print $6}' | sort >"$work/contents"
for f in ./usr/include/vorn_xml.h ./usr/lib/libvornxml.so ./usr/lib/libvornxml.so.1 ./usr/lib/libvornxml.so.1.0.0 \
         ./usr/bin/vornxml ./usr/share/man/man1/vornxml.1 ./usr/lib/cmake/VornXml/VornXmlConfig.cmake \
         ./usr/lib/pkgconfig/vornxml.pc; do
    grep -qx "$f" "$work/contents" || { echo "install: $(basename "$deb") lacks $f"; exit 1; }
done
dpkg-deb -I "$deb" | grep 'Package: vornxml' >/dev/null || { echo "install: bad package control data"; exit 1; }
echo "install: prefix, find_package, pkg-config, tool, add_subdirectory and $(basename "$deb") checked"
