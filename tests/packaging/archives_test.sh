#!/bin/sh
# The archives for the stores have the same bytes whenever and by whomever they are made, and the names that
# the manifests give to browsers agree with each other. Usage: archives_test.sh PROJECT BUILD
project=$1 build=$2
. "$(dirname -- "$0")/support.sh"
trap 'rm -rf "$stage"' EXIT

cp -r "$project/browsers" "$project/packaging" "$stage"
mkdir -p "$stage/build/packaging"
cp -r "$build/packaging/extension" "$stage/build/packaging"
"$stage/packaging/make-archives" "$stage/build" >/dev/null
sha256sum "$stage"/build/packages/* >"$stage/first"
find "$stage/browsers" -exec touch -d '2001-01-01 01:01:01' {} + -exec chmod go-rwx {} +
TZ=Asia/Tokyo LC_ALL=C "$stage/packaging/make-archives" "$stage/build" >/dev/null
sha256sum --quiet -c "$stage/first" || fail "the archives are not the same"

for archive in "$stage"/build/packages/*; do
  unzipped=$stage/unzipped.${archive##*.}
  python3 -m zipfile -e "$archive" "$unzipped"
  # All files but the manifest, which is each browser's own, are the source's.
  diff -r -x manifest.json "$project/browsers/webextension" "$unzipped" || fail "$archive has other files"
done
python3 - "$stage" "$build" <<'END'
import base64, hashlib, json, re, sys
stage, build = sys.argv[1:]
xpi, store = (json.load(open(f"{stage}/unzipped.{kind}/manifest.json")) for kind in ("xpi", "zip"))
assert "key" not in store and "declarative_net_request" not in store and "browser_specific_settings" not in store
assert not any("webRequest" in name for name in store["permissions"]) and "webRequest" in xpi["permissions"]
digest = hashlib.sha256(base64.b64decode(xpi["key"])).hexdigest()[:32]
identity = digest.translate(str.maketrans("0123456789abcdef", "abcdefghijklmnop"))
register = open(f"{build}/packaging/extension/orvane-web-register").read()
assert f"chromium_id={identity}\n" in register, identity
assert f"firefox_id={xpi['browser_specific_settings']['gecko']['id']}\n" in register
END
