#!/usr/bin/env bash
# build_site.sh: makes the site of the library's interface in build/site/html (Doxygen). A warning,
# such as a reference to a name that doesn't exist, is a failure.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build
doxygen docs/site/Doxyfile
echo "site: $(find build/site/html -name '*.html' | wc -l) pages, build/site/html/index.html"
