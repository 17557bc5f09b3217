# To be read by scripts of this folder: apt with lists and downloads of its own, so that the system's
# configuration and state stay as they are. Packages come from the mirrors that apt is configured with,
# checked against the same signatures.
#
# Takes `cache`, a folder, and what the mirrors are asked for: `kind`, deb or deb-src, with `option`, as in
# sources.list(5). Sets `work`, a new folder in `cache` that goes when the script ends, and defines `apt`.

work=$(mktemp -d "$cache/fetching.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/cache/archives/partial"

# The distribution's main section.
apt-get indextargets --format '$(ORIGIN) $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' | sort -u >"$work/targets"
while read -r origin uri release component; do
  keys=/usr/share/keyrings/$(printf %s "$origin" | tr A-Z a-z)-archive-keyring.gpg
  case $origin:$component in
    Debian:main | Ubuntu:main | Ubuntu:universe)
      [ -f "$keys" ] && echo "$kind [signed-by=$keys $option] $uri $release $component" ;;
  esac
done <"$work/targets" >"$work/sources.list"

apt() {
  apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User= \
    "$@" </dev/null >&2
}
