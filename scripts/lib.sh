# Shared by the scripts of this folder: which Debian packages they need, and how to get them.
# Source it; it changes nothing by itself.

# vanta_packages GROUP: the packages of one group, one per line.
vanta_packages() {
  case "$1" in
    build)
      printf '%s\n' clang cmake ninja-build pkg-config libobs-dev libx11-dev libegl-dev libgl-dev libyuv-dev \
        nlohmann-json3-dev libcli11-dev libopencv-core-dev libopencv-imgproc-dev libopencv-imgcodecs-dev \
        libopencv-objdetect-dev libopencv-video-dev libopencv-dnn-dev \
        libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libwebp-dev libfreetype-dev libharfbuzz-dev
      ;;
    run)
      # obs-studio for the muxer, gnuplot for --plot: programs of their own. opencv-data: the cascades that find faces.
      # The fonts draw effects' texts.
      printf '%s\n' obs-plugins obs-studio gnuplot-nox xvfb libgl1-mesa-dri libegl-mesa0 opencv-data \
        fonts-dejavu-core fonts-wqy-microhei
      ;;
    test)
      vanta_packages run
      printf '%s\n' libgtest-dev libgmock-dev lld dpkg-dev file python3-websocket ffmpeg xauth glslang-tools groff-base
      ;;
    bench)
      printf '%s\n' libbenchmark-dev
      ;;
    mouse)
      printf '%s\n' xdotool openbox
      ;;
    ci)
      # clang's sanitizers, what reads their reports' addresses, its styles; g++, which everybody else has. ccache pays where the
      # same is built again: an empty cache costs a newcomer's one build a minute.
      printf '%s\n' libclang-rt-14-dev llvm clang-format clang-tidy g++ ccache
      ;;
    windows)
      # The cross compiler, the sources that are compiled with it, and Wine with a display to run the result.
      printf '%s\n' g++-mingw-w64-x86-64-posix libobs-dev libsimde-dev nlohmann-json3-dev dpkg-dev googletest wine \
        wine64 xvfb xauth zip unzip openssl python3 ffmpeg libz-mingw-w64-dev cmake ninja-build
      # Node.js from elsewhere brings its own npm, and Debian's package refuses to stand beside it.
      command -v npm >/dev/null || echo npm
      ;;
    demo)
      vanta_packages run
      printf '%s\n' ffmpeg
      ;;
    *)
      echo "vanta_packages: no group '$1'" >&2
      return 1
      ;;
  esac
}

vanta_is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# vanta_apt ARGUMENTS...: apt-get, quiet unless it fails, through sudo where the user is not root.
vanta_apt() {
  local log sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "installing packages needs root: run this as root, or install sudo" >&2; return 1; }
    sudo=(sudo)
  fi
  log=$(mktemp)
  if ! "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q "$@" >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    echo "apt-get $1 failed; is the network there?" >&2
    return 1
  fi
  rm -f "$log"
}

# Once per script: the package lists.
vanta_apt_update() {
  [ -z "${VANTA_APT_UPDATED:-}" ] || return 0
  vanta_apt update
  VANTA_APT_UPDATED=1
}

# vanta_install_packages GROUP...: installs what is missing; says nothing when all is there.
vanta_install_packages() {
  local group package missing=()
  for group in "$@"; do
    while read -r package; do
      vanta_is_installed "$package" || missing+=("$package")
    done < <(vanta_packages "$group")
  done
  [ "${#missing[@]}" -gt 0 ] || return 0
  echo "== installing ${#missing[@]} packages (a few minutes on a fresh machine): ${missing[*]}"
  vanta_apt_update
  vanta_apt install --no-install-recommends "${missing[@]}"
}

# vanta_debian_mirror: where apt has the binary packages of bookworm's main part from.
vanta_debian_mirror() {
  local mirror
  mirror=$(apt-get indextargets --format '$(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 2>/dev/null |
    awk '$2 == "bookworm" && $3 == "main" {print $1; exit}')
  [ -n "$mirror" ] || { echo "$0: apt knows no mirror of bookworm's main part; run apt-get update" >&2; return 1; }
  echo "$mirror"
}
