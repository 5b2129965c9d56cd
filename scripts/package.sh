#!/usr/bin/env bash
# Builds the Debian package build/video-zandrell_<version>_<arch>.deb and checks it: installed
# into a staging folder, its desktop entry and AppStream description validated, the package made
# by CPack and read by lintian (any error fails). `./scripts/package.sh ci` builds with the CI
# preset (warnings are errors), as scripts/test.sh does; the default is the everyday preset.
# The user guide's pictures are those of the last desktop test run, if any.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}

./scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc)" --target zandrell zandrell-scenario codec_catalogue user_guide \
  desktop_files package_changelog

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
DESTDIR="$stage" cmake --install build --prefix /usr >/dev/null
for installed in usr/bin/zandrell usr/bin/zandrell-scenario usr/share/video-zandrell/webshare.html \
  usr/share/video-zandrell/codec.zr usr/share/video-zandrell/camera.wav usr/share/man/man1/zandrell.1.gz \
  usr/share/man/man1/zandrell-scenario.1.gz usr/share/bash-completion/completions/zandrell \
  usr/share/doc/video-zandrell/guide/index.html; do
  [ -s "$stage/$installed" ] || { echo "package: $installed is not installed" >&2; exit 1; }
done
desktop-file-validate "$stage"/usr/share/applications/*.desktop
appstreamcli validate --no-net "$stage"/usr/share/metainfo/*.metainfo.xml >/dev/null

rm -f build/video-zandrell_*.deb
(cd build && cpack -G DEB >/dev/null)
package=$(echo build/video-zandrell_*.deb)
lintian --fail-on error "$package"
echo "$package"
