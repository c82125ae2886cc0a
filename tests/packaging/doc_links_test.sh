#!/usr/bin/env bash
# The link check lets good links pass and names each one that leads nowhere.
# usage: doc_links_test.sh PATH_OF_doc_links.sh
set -euo pipefail
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{docs,src}
touch "$tree/src/a.h" "$tree/docs/b.md"

echo 'The [rules](src/a.h), [more](docs/b.md#top), the [net](https://quorin.example), [top](#top).' >"$tree/README.md"
echo 'One [up](../src/a.h) and two: [here](b.md), [folder](../src/).' >"$tree/docs/tour.md"
said=$("$check" "$tree") || { echo "good links were refused: $said" && exit 1; }
[ "$said" = "document links: 5 looked at" ] || { echo "not all links were seen: $said" && exit 1; }

echo 'A [gone](src/gone.h) and a [fine one](src/a.h).' >>"$tree/README.md"
echo 'From [the wrong folder](src/a.h).' >>"$tree/docs/tour.md"
if said=$("$check" "$tree"); then
  echo "broken links passed" && exit 1
fi
for place in README.md:2 docs/tour.md:2; do
  grep -q "^$place: " <<<"$said" || { echo "$place was not named in: $said" && exit 1; }
done
[ "$(grep -c 'there is no' <<<"$said")" -eq 2 ] || { echo "good links were named: $said" && exit 1; }
