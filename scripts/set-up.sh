# Sourced by ./run and ./test: installs packages, fetches the speech engine and builds. Needs bash.

setup_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# say TEXT: in bold on a terminal
say() {
  if [[ -t 2 ]]; then printf '\033[1m%s\033[0m\n' "$*" >&2; else printf '%s\n' "$*" >&2; fi
}
die() { printf '%s\n' "$*" >&2; exit 1; }

# requirements_of SECTION...: the lines of scripts/packages.txt
requirements_of() {
  awk -v wanted=" $* " '
    /^\[/ { section = substr($0, 2, length($0) - 2); next }
    /^#/ || NF == 0 { next }
    index(wanted, " " section " ")' "$setup_root/scripts/packages.txt"
}

has_apt() { command -v apt-get > /dev/null && command -v apt-cache > /dev/null && command -v dpkg-query > /dev/null; }

# packages_of SECTION...: for each requirement the first package that is installed or that this release offers. The
# first name stands where apt knows none of them, which is so as long as it has no package lists.
packages_of() {
  requirements_of "$@" | awk '
    { sub(/ = .*/, ""); gsub(/\|/, " "); requirement[++count] = $0; names = names " " $0 }
    END {
      command = "LC_ALL=C apt-cache policy" names
      while ((command | getline) > 0) {
        if (/^[^ ].*:$/) name = substr($1, 1, length($1) - 1)
        else if ($1 == "Candidate:" && $2 != "(none)") offered[name] = 1
      }
      for (i = 1; i <= count; ++i) {
        choices = split(requirement[i], choice, " ")
        for (chosen = 1; chosen < choices && !(choice[chosen] in offered);) ++chosen
        if (!(choice[chosen] in offered)) chosen = 1
        if (!seen[choice[chosen]]++) print choice[chosen]
      }
    }'
}

missing_packages() {
  local name
  for name in $(packages_of "$@"); do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$name" 2> /dev/null) = installed ]] || echo "$name"
  done
}

# missing_programs_and_modules SECTION...: as Fedora's dnf takes them, for instance pkgconfig(libpipewire-0.3)
missing_programs_and_modules() {
  local wanted module
  for wanted in $(requirements_of "$@" | sed -n 's/.* = //p'); do
    if [[ $wanted = pkgconfig\(*\) ]]; then
      module=${wanted#pkgconfig(}
      pkg-config --exists "${module%)}" 2> /dev/null || echo "$wanted"
    else
      command -v "$wanted" > /dev/null || echo "/usr/bin/$wanted"
    fi
  done
}

# install_packages SECTION...: nothing to do, no network and no rights needed when all are there. Without apt nothing is
# installed, but what is missing is named.
install_packages() {
  local missing sudo=()
  if ! has_apt; then
    missing=$(missing_programs_and_modules "$@")
    [[ ! $missing ]] || die "This system has no apt, so please install what is missing: $(xargs <<< "$missing")"
    return 0
  fi
  missing=$(missing_packages "$@")
  [[ $missing ]] || return 0
  if ((EUID != 0)); then
    command -v sudo > /dev/null || die "These packages are missing and there is no sudo to install them: $(xargs <<< "$missing")"
    sudo=(sudo)
  fi
  local log
  log=$(mktemp)
  say "Installing $(wc -l <<< "$missing") packages"
  # What the release offers is known for certain only with new lists.
  if ! { "${sudo[@]}" apt-get update && missing=$(missing_packages "$@") && xargs -r "${sudo[@]}" env \
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends <<< "$missing"; } > "$log" 2>&1 < /dev/null; then
    tail -n 15 "$log" >&2
    rm -f "$log"
    die "The packages could not be installed: $(xargs <<< "$missing")"
  fi
  rm -f "$log"
}

# fetch_speech_engine: sherpa-onnx into build/sherpa-onnx, exactly the packages that scripts/sherpa-onnx/package-lock.json
# tells with their checksums. Murmelo works without it, so that a machine that can't have it is told and goes on.
fetch_speech_engine() {
  local lock=$setup_root/scripts/sherpa-onnx target=$setup_root/build/sherpa-onnx
  [[ $(uname -m) =~ ^(x86_64|aarch64)$ ]] || return 0
  if cmp -s {"$lock","$target"}/package-lock.json; then return; fi
  command -v npm > /dev/null || (install_packages npm) || true # what follows says what is missing
  say "Fetching the speech engine sherpa-onnx"
  rm -rf "$target.part"
  mkdir -p "$target.part"
  cp "$lock"/package*.json "$target.part"
  if (cd "$target.part" && npm ci --ignore-scripts --no-audit --no-fund --cache=cache) > "$target.log" 2>&1 < /dev/null &&
    compgen -G "$target.part/node_modules/*/libsherpa-onnx-c-api.so" > /dev/null; then
    rm -rf "$target" "$target.part/cache"
    mv "$target.part" "$target"
  else
    rm -rf "$target.part"
    say "It could not be fetched (see build/sherpa-onnx.log): the built-in recogniser serves without it."
  fi
}

# build PRESET: into build/PRESET
build() {
  local log=$setup_root/build/$1.log
  mkdir -p "$setup_root/build"
  say "Building ($1)"
  if ! { (cd "$setup_root" && cmake --preset "$1" && cmake --build --preset "$1" --parallel "$(nproc)"); } > "$log" 2>&1; then
    grep -E -m 20 'error:|Error|FAILED' "$log" >&2 || tail -n 30 "$log" >&2
    die "The build failed; the whole log is in build/$1.log."
  fi
}
