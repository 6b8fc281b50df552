#!/usr/bin/env bash
# Installs the Debian packages that the build, tests, benchmarks and examples need, when missing.
# Does nothing (and needs no network) when everything is present.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config clang libclang-rt-dev
  libxml2-dev zlib1g-dev
  libglew-dev libgl-dev libgl1-mesa-dev libglu1-mesa-dev libegl-dev libegl-mesa0 libgl1-mesa-dri
  libdevil-dev lib3ds-dev libshp-dev uuid-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libglm-dev libmuparser-dev
  libglfw3-dev libimgui-dev xvfb xauth doxygen
  libftgl-dev libfreetype-dev libfontconfig-dev fonts-dejavu-core
  libtinyobjloader-dev libassimp-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}"
SUDO=()
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then
    SUDO=(sudo)
  else
    echo "setup: need root or sudo to install: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
