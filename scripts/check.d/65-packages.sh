#!/usr/bin/env bash
# The Debian packages, as a distribution would take them: cpack makes
# libvornxml2 (the stripped shared library in the multiarch folder),
# libvornxml-dev (headers, the .so link, the CMake package, pkg-config) and
# vornxml (the tool and its man page); lintian finds no error in any of them.
#
# With VORNXML_SYSTEM_INSTALL=1, as root on a machine that may be changed
# (CI sets it), the three are then installed together with apt-get, a host is
# built with find_package(VornXml 2) and with pkg-config and run without
# LD_LIBRARY_PATH, the tool runs, and the packages are removed again.
set -euo pipefail
for tool in cpack dpkg-deb dpkg-shlibdeps lintian; do
    command -v $tool >/dev/null 2>&1 ||
        { echo "SKIPPED: $tool is not installed (apt-get install cmake dpkg-dev lintian)"; exit 0; }
done
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"
build_in build-deb -DCMAKE_INSTALL_PREFIX=/usr -DVORNXML_BUILD_TESTS=OFF -DVORNXML_BUILD_BENCH=OFF \
    -DVORNXML_BUILD_EXAMPLES=OFF
rm -f build-deb/*.deb
(cd build-deb && cpack -G DEB >cpack.log 2>&1) || { cat build-deb/cpack.log; exit 1; }
version=$(sed -n 's/^project(vornxml VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
major=${version%%.*}
debs=(build-deb/libvornxml"$major"_*.deb build-deb/libvornxml-dev_*.deb build-deb/vornxml_*.deb)
for deb in "${debs[@]}"; do
    [ -f "$deb" ] || { echo "packages: $deb was not made"; ls build-deb/*.deb; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# What each package must hold (a line per file, as dpkg-deb -c names it).
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)
lib=./usr/lib/$multiarch
expect() {
    local deb=$1 package
    shift
    package=$(dpkg-deb -f "$deb" Package)
    dpkg-deb -c "$deb" | awk '{print $6}' >"$work/contents"
    for f in "$@" ./usr/share/doc/"$package"/copyright ./usr/share/doc/"$package"/changelog.Debian.gz; do
        grep -qx -- "$f" "$work/contents" || { echo "packages: $package lacks $f"; exit 1; }
    done
}
expect "${debs[0]}" "$lib/libvornxml.so.$major" "$lib/libvornxml.so.$version"
expect "${debs[1]}" ./usr/include/vorn_xml.h ./usr/include/vorn_xml_version.h ./usr/include/vorn_xml_export.h \
    "$lib/libvornxml.so" "$lib/cmake/VornXml/VornXmlConfig.cmake" "$lib/cmake/VornXml/VornXmlConfigVersion.cmake" \
    "$lib/pkgconfig/vornxml.pc"
expect "${debs[2]}" ./usr/bin/vornxml ./usr/share/man/man1/vornxml.1.gz
if dpkg-deb -c "${debs[0]}" | grep -q 'include/\|bin/'; then
    echo "packages: the runtime package holds more than the library"; exit 1
fi
# Stripped library, no run path in the tool, dependencies between them.
dpkg-deb -x "${debs[0]}" "$work/root"
dpkg-deb -x "${debs[2]}" "$work/root"
file -L "$work/root/$lib/libvornxml.so.$major" | grep -q ', stripped' ||
    { echo "packages: the library is not stripped"; exit 1; }
if readelf -d "$work/root/usr/bin/vornxml" | grep -E 'RPATH|RUNPATH'; then
    echo "packages: the tool carries a run path"; exit 1
fi
for deb in "${debs[1]}" "${debs[2]}"; do
    dpkg-deb -f "$deb" Depends | grep -q "libvornxml$major (= $version-" ||
        { echo "packages: $(basename "$deb") does not depend on libvornxml$major $version"; exit 1; }
done
dpkg-deb -f "${debs[0]}" Depends | grep -q libstdc++ || { echo "packages: no library dependencies found"; exit 1; }

# lintian: warnings are shown, errors fail.
lintian --allow-root --tag-display-limit 0 "${debs[@]}" >"$work/lintian" 2>&1 || true
cat "$work/lintian"
if grep -q '^E:' "$work/lintian"; then
    echo "packages: lintian reports errors (above)"; exit 1
fi
echo "packages: $(cd build-deb && ls ./*.deb | tr '\n' ' ')made and checked; lintian: no error"

if [ "${VORNXML_SYSTEM_INSTALL:-0}" != 1 ] || [ "$(id -u)" != 0 ]; then
    echo "packages: not installed on this machine (VORNXML_SYSTEM_INSTALL=1 as root does it, as CI does)"
    exit 0
fi
names=(libvornxml"$major" libvornxml-dev vornxml)
for name in "${names[@]}"; do
    ! dpkg -s "$name" >/dev/null 2>&1 || { echo "packages: $name is installed already; not touching it"; exit 1; }
done
remove() { DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "${names[@]}" >/dev/null 2>&1 || true; rm -rf "$work"; }
trap remove EXIT
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${debs[@]/#/$PWD/}" >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log"; exit 1; }

expected='<?xml version="1.0"?>
<a x="1"><b>t &amp; u</b></a>'
mkdir -p "$work/host"
cp tests/install/consumer/consumer.cpp tests/install/consumer/CMakeLists.txt "$work/host/"
cmake -S "$work/host" -B "$work/host/build" >/dev/null
cmake --build "$work/host/build" >/dev/null
# shellcheck disable=SC2046
c++ -std=c++17 "$work/host/consumer.cpp" -o "$work/host/with-pkg-config" $(pkg-config --cflags --libs vornxml)
for exe in "$work/host/build/consumer" "$work/host/with-pkg-config"; do
    out=$(env -u LD_LIBRARY_PATH "$exe")
    [ "$out" = "$expected" ] || { echo "packages: $exe wrote: $out"; exit 1; }
done
[ "$(vornxml --version)" = "vornxml $version" ] && vornxml --quiet examples/catalog.xml ||
    { echo "packages: the installed tool failed"; exit 1; }
man -w vornxml >/dev/null 2>&1 || [ -f /usr/share/man/man1/vornxml.1.gz ]
echo "packages: installed with apt-get, a host built with find_package(VornXml $major) and with pkg-config ran; removed again"
