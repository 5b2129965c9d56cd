#!/usr/bin/env bash
# Builds the Debian package build/video-zandrell_<version>_<arch>.deb and checks it: installed
# into a staging folder, where the program records a second of movie with its folder and settings
# in a home of its own, its desktop entry and AppStream description validated, the package made
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
  usr/share/video-zandrell/codec.zr usr/share/video-zandrell/camera.wav usr/share/video-zandrell/tv-channels.ini usr/share/man/man1/zandrell.1.gz \
  usr/share/man/man1/zandrell-scenario.1.gz usr/share/bash-completion/completions/zandrell \
  usr/share/doc/video-zandrell/guide/index.html; do
  [ -s "$stage/$installed" ] || { echo "package: $installed is not installed" >&2; exit 1; }
done
# The installed program records a movie and keeps its folder and settings in the user's home,
# never beside itself, even where it could write there.
home="$stage/home"
mkdir "$home"
(cd "$home" && env -u XDG_DATA_HOME -u XDG_CONFIG_HOME HOME="$home" "$stage/usr/bin/zandrell" --headless \
  --record 1 movie.avi >/dev/null)
for made in movie.avi .local/share/video-zandrell/zrsr.zr2 .local/share/video-zandrell/codec.zr \
  ".config/video-zandrell/Video Zandrell.ini"; do
  [ -s "$home/$made" ] || { echo "package: the installed program made no $made" >&2; exit 1; }
done
[ "$(ls "$stage/usr/bin")" = "$(printf 'zandrell\nzandrell-scenario')" ] ||
  { echo "package: the installed program wrote beside itself" >&2; exit 1; }
desktop-file-validate "$stage"/usr/share/applications/*.desktop
appstreamcli validate --no-net "$stage"/usr/share/metainfo/*.metainfo.xml >/dev/null

rm -f build/video-zandrell_*.deb
(cd build && cpack -G DEB >/dev/null)
package=$(echo build/video-zandrell_*.deb)
lintian --fail-on error "$package"
echo "$package"
