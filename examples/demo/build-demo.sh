#!/usr/bin/env bash
# Builds the demo blog "Salt & Crumb" from the sources in this folder and
# exports it as a static site.
#
#   examples/demo/build-demo.sh BUILD_DIR OUT
#
# BUILD_DIR is a CMake build folder holding bin/quillfen. The site document
# is written beside OUT as OUT.qfsite (made afresh each time); the export
# replaces OUT. A non-empty OUT that holds no earlier export (no .html file at
# its top) is refused, so a mistyped folder is never replaced.
set -euo pipefail

if [ $# -ne 2 ]; then
  echo "usage: $0 BUILD_DIR OUT" >&2
  exit 2
fi

here=$(cd "$(dirname "$0")" && pwd)
quillfen="$(cd "$1" && pwd)/bin/quillfen"
out=${2%/}
site="$out.qfsite"

if [ ! -x "$quillfen" ]; then
  echo "$0: $quillfen is missing; build first (make build)" >&2
  exit 1
fi
if [ -d "$out" ] && [ -n "$(ls -A "$out")" ] && ! compgen -G "$out/*.html" >/dev/null; then
  echo "$0: $out is not empty and holds no earlier export; not touching it" >&2
  exit 1
fi
mkdir -p "$(dirname "$out")"
rm -f "$site"

"$quillfen" new "$site" --title "Salt & Crumb" --base-url "http://localhost/salt-and-crumb/" >/dev/null

settings=(
  rssTitle "Salt & Crumb"
  rssDescription "Bread, soup and slow journeys by ferry and train."
  rssHomepage "http://localhost/salt-and-crumb/"
  rssCreator "hello@saltandcrumb.example"
  rssCopyright "Copyright 2026 Salt & Crumb"
  enableRSS true
  enableSmileys true
  archivePostsPeriod 1
  showAtLeastPosts true
  showPostLimit 5
  permalinkLinkName "Permalink"
  readMoreLinkName "Read more…"
  categoryTitle "Filed under: "
  categorySeparator ", "
  tagsTitle "Tags: "
  tagsSeparator ", "
  showCategoryPostCounts true
)
for ((i = 0; i < ${#settings[@]}; i += 2)); do
  "$quillfen" set "$site" "${settings[i]}" "${settings[i + 1]}"
done

# The demo files its posts under categories of its own; the starter
# categories of a new blog would only stand empty in the sidebar.
for category in General Ideas Personal Work; do
  "$quillfen" category remove "$site" "$category"
done
"$quillfen" post add "$site" --jsonl "$here/posts.jsonl" >/dev/null
"$quillfen" export "$site" "$out"

# The site's first page is its front door: index.html when the site names it
# so, else the first page file written at the top.
out=$(cd "$out" && pwd)
main="$out/index.html"
if [ ! -e "$main" ]; then
  main=$(ls "$out"/*.html | head -n 1)
fi
echo "The demo site is in $out"
echo "Open file://$main"
