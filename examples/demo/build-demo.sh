#!/usr/bin/env bash
# Builds the demo blog "Salt & Crumb" from the sources in this folder and
# exports it as a static site.
#
#   examples/demo/build-demo.sh BUILD_DIR OUT
#
# BUILD_DIR is a CMake build folder holding bin/quillfen. The site document
# is made afresh in a temporary folder and, once exported, put beside OUT as
# OUT.qfsite, replacing only an earlier demo document there (one with the
# demo's title and address); any other file of that name is refused. The
# export replaces OUT only when it is missing, empty or an earlier export,
# and refuses anything else, so a mistyped folder is never touched.
set -euo pipefail

if [ $# -ne 2 ]; then
  echo "usage: $0 BUILD_DIR OUT" >&2
  exit 2
fi

here=$(cd "$(dirname "$0")" && pwd)
quillfen="$(cd "$1" && pwd)/bin/quillfen"
out=${2%/}
site="$out.qfsite"
title="Salt & Crumb"
base_url="http://localhost/salt-and-crumb/"

if [ ! -x "$quillfen" ]; then
  echo "$0: $quillfen is missing; build first (make build)" >&2
  exit 1
fi
if [ -e "$site" ] || [ -L "$site" ]; then
  if [ -L "$site" ] || [ ! -f "$site" ] \
    || [ "$("$quillfen" site "$site" siteTitle 2>/dev/null)" != "$title" ] \
    || [ "$("$quillfen" site "$site" siteBaseURL 2>/dev/null)" != "$base_url" ]; then
    echo "$0: $site exists and is not a demo site made by this script; not touching it" >&2
    exit 1
  fi
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/quillfen-demo-XXXXXX")
trap 'rm -rf "$work"' EXIT
new_site="$work/demo.qfsite"
"$quillfen" new "$new_site" --title "$title" --base-url "$base_url" >/dev/null

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
  "$quillfen" set "$new_site" "${settings[i]}" "${settings[i + 1]}"
done

# The demo files its posts under categories of its own; the starter
# categories of a new blog would only stand empty in the sidebar.
for category in General Ideas Personal Work; do
  "$quillfen" category remove "$new_site" "$category"
done
"$quillfen" post add "$new_site" --jsonl "$here/posts.jsonl" >/dev/null
"$quillfen" export "$new_site" "$out"
mv -f "$new_site" "$site"

# The site's first page is its front door: index.html when the site names it
# so, else the first page file written at the top.
out=$(cd "$out" && pwd)
main="$out/index.html"
if [ ! -e "$main" ]; then
  main=$(ls "$out"/*.html | head -n 1)
fi
echo "The demo site is in $out"
echo "Open file://$main"
