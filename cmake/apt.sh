# A private apt beside the machine's own, for its libraries of another architecture and its source packages: needs no
# root and changes nothing of the machine. Sourced by cmake/sysroot, cmake/expat, cmake/updates and
# tests/conformance/source_package.

# The newest stable release; what reads untrusted input may come from its sources.
stable=trixie
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
keyring=/usr/share/keyrings/$(. /etc/os-release && echo "$ID")-archive-keyring.gpg

# source_line TYPE RELEASE: a line of sources.list with the mirror that the machine's own apt uses. Empty when it does
# not use that release.
source_line() {
  apt-get indextargets --format '$(CREATED_BY) $(RELEASE) $(COMPONENT) $(REPO_URI)' |
    awk -v type="$1 [signed-by=$keyring]" -v release="$2" \
      '$1 == "Packages" && $2 == release && $3 == "main" { print type, $4, release, "main"; exit }'
}

# source_lines RELEASE: the lines for the source packages of a release of Debian's and of its security suite, at the
# machine's mirrors. Empty for a release that the machine's distribution does not have.
source_lines() {
  [ "$1" = "$suite" ] || [ "${keyring#*/debian-}" != "$keyring" ] || return 0
  { source_line deb-src "$suite"; source_line deb-src "$suite-security"; } | sed "s/ $suite/ $1/"
}

# private_apt FOLDER COMMAND…: apt-get with its lists, cache and idea of what is installed (nothing) in FOLDER, which
# holds a sources.list.
private_apt() {
  folder=$1
  shift
  private_command "$folder" apt-get -y "$@"
}

# source_versions FOLDER PACKAGE: the versions of a source package that the lists in FOLDER know, newest first.
source_versions() {
  private_command "$1" apt-cache showsrc --only-source "$2" | sed -n 's/^Version: //p' | sort -ruV
}

private_command() {
  private=$(realpath -m "$1")
  command=$2
  shift 2
  mkdir -p "$private/lists/partial" "$private/archives/partial"
  touch "$private/status"
  "$command" -o Dir::State="$private" -o Dir::State::lists="$private/lists" -o Dir::State::status="$private/status" \
    -o Dir::Cache="$private" -o Dir::Etc::sourcelist="$private/sources.list" -o Dir::Etc::sourceparts=/dev/null \
    -o Dir::Etc::preferences=/dev/null -o Dir::Etc::preferencesparts=/dev/null \
    -o APT::Sandbox::User= -o APT::Install-Recommends=false -o Acquire::Languages=none "$@"
}
