#!/usr/bin/env bash
# Installs the Debian packages that the build and the tests need.
# Idempotent: asks apt only for what is missing and says nothing when nothing is.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libavdevice-dev
  libturbojpeg0-dev libasound2-dev libfreetype-dev libfontconfig-dev fonts-liberation
  libgtest-dev libgmock-dev libbenchmark-dev
  ffmpeg libjpeg-turbo-progs curl
  qt6-base-dev qt6-translations-l10n xvfb xauth
  chromium
  python3 python3-pyftpdlib clang-format
  cmark
  clang libclang-rt-14-dev
  libmagick++-dev
  imagemagick
  libsane-dev sane-utils libsane1
  help2man librsvg2-bin desktop-file-utils appstream lintian bash-completion
  locales
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
if [ ${#missing[@]} -ne 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The desktop locale tests read the time and the decimal sign of a German and an American desktop.
for locale in de_DE en_US; do
  if ! locale -a 2>/dev/null | grep -qx "$locale.utf8"; then
    echo "Making the $locale.UTF-8 locale"
    "${sudo_cmd[@]}" localedef -i "$locale" -f UTF-8 "$locale.UTF-8"
  fi
done
