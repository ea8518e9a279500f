#!/usr/bin/env bash
# The project's own C++ files are formatted as .clang-format says (checked,
# not rewritten: run clang-format -i on the files it names), and clang-tidy
# (.clang-tidy) finds nothing in those that stage 10's build compiles.
set -euo pipefail
for tool in clang-format clang-tidy; do
    command -v $tool >/dev/null 2>&1 || { echo "SKIPPED: $tool is not installed (apt-get install clang-format clang-tidy)"; exit 0; }
done
source "$VORNXML_ROOT/scripts/lib/build.sh"
cd "$VORNXML_ROOT"

find include src tools tests examples bench fuzz \( -name '*.cpp' -o -name '*.h' \) -print0 |
    xargs -0 clang-format --dry-run --Werror

# The compile database names every file that the build compiles, with its
# flags; only the project's own files are analysed.
build_in build --no-build
sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' build/compile_commands.json |
    grep -E "^$VORNXML_ROOT/(src|tools|tests|examples|bench)/" | sort -u >build/tidy-files
if ! xargs -P "$VORNXML_JOBS" -n 1 clang-tidy -p build --quiet <build/tidy-files >build/tidy.log 2>&1; then
    grep -v -E '^[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$' build/tidy.log
    echo "clang-tidy: findings above"
    exit 1
fi
echo "clang-format and clang-tidy: $(wc -l <build/tidy-files) files clean"
