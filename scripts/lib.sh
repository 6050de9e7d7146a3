# Functions for the other scripts of this folder, which source it.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

# need PACKAGE...: installs the Debian packages that are missing.
need() {
  local missing=() package as_root=()
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "These packages are missing: ${missing[*]}" >&2
      echo "Installing them takes root or sudo. Run as root:" >&2
      echo "  apt-get update && apt-get install ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [TARGET...]: configures and builds; prints the log only after a failure.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  echo "Building $preset"
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
}

# start_sandbox PRESET [OPTION...]: starts the sandbox server on a free port and sets sandbox_port. The server ends with the
# script.
start_sandbox() {
  local preset=$1
  shift
  start_server "build/$preset/bin/morvex-sandbox" --port 0 "$@"
}

# start_server COMMAND...: the same, with the whole command line of the server.
start_server() {
  local first_line
  coproc SANDBOX { exec "$@"; }
  sandbox_pid=$SANDBOX_PID
  trap 'kill "$sandbox_pid" 2>/dev/null; wait "$sandbox_pid" 2>/dev/null' EXIT
  read -r first_line <&"${SANDBOX[0]}" || { echo "The sandbox server did not start" >&2; exit 1; }
  sandbox_port=${first_line##*:}
}

# end_to_end PRESET [ARGUMENT...]: runs the end-to-end tests with the programs of that build. Arguments go to pytest.
end_to_end() {
  local bin=$PWD/build/$1/bin sanitized=0
  [ "$1" != asan ] || sanitized=1
  shift
  MORVEX_TOOL=$bin/morvex-tool MORVEX_SANDBOX=$bin/morvex-sandbox MORVEX_SANITIZED=$sanitized \
    MORVEX_FAULTY_SYSTEM=$PWD/build/dev/tests/libfaulty_system.so PYTHONDONTWRITEBYTECODE=1 \
    /usr/bin/python3 -m pytest -q -p no:cacheprovider "${@:-tests/end_to_end}"
}

# The prefix of a command that needs the same addresses in each run; empty if the system does not allow it.
same_addresses=(setarch -R)
"${same_addresses[@]}" true 2>/dev/null || same_addresses=()

build_packages=(g++ cmake ninja-build)
windows_packages=(g++-mingw-w64-x86-64-posix googletest)
test_packages=("${build_packages[@]}" ccache clang clang-format libclang-rt-14-dev libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-pytest python3-pytest-xdist tzdata iproute2 valgrind mandoc zsh bash-completion gnuplot-nox systemd)
