#!/bin/sh
# Compiles the samples with the typings, and pages that misuse them, which must fail in each line; and checks
# the module by its comments. Installs the compiler into DIRECTORY once. Exit code 77 when it cannot be had. Usage: check_typings.sh WEB DIRECTORY
set -eu
web=$(realpath "$1")
mkdir -p "$2"
directory=$(realpath "$2")
version=5.9.3

skip() {
  echo "Skipped: $1"
  exit 77
}

tsc=$directory/node_modules/.bin/tsc
if [ ! -x "$tsc" ]; then
  command -v npm >/dev/null || skip "there is no npm"
  echo '{"private": true}' >"$directory/package.json"
  npm install --prefix "$directory" --no-save --no-package-lock --no-audit --no-fund \
    "typescript@$version" >"$directory/npm.log" 2>&1 ||
    skip "npm could not install the compiler: $(grep -m 1 'npm error' "$directory/npm.log")"
fi

compile() {
  cd "$directory" && "$tsc" --noEmit --strict --noUnusedLocals --noImplicitReturns --target es2017 \
    --lib es2018,dom --module es2020 --moduleResolution bundler "$@"
}

compile --allowJs --checkJs "$web/sample.ts" "$web/sample.mts" "$web/../tests/docs/promise_misuses.mts" \
  "$web/orvane-web.mjs"

misuses=$directory/misuses.ts
cat >"$misuses" <<END
declare const orvane: OrvaneWeb.Element;
orvane.initSession('my-app');
orvane.name = 5;
orvane.pellionHttpRequestAsync('GET', '/', '', 'no function');
orvane.runOpenFolderDialog('yes');
orvane.eventHandler = (type: 'drop') => {};
orvane.noSuchMethod();
const text: string = orvane.startDownload('https://example.org/a');
const shown: string = orvane.runSaveFileDialogAsync('', '', '', (path) => path.length);
END
if compile "$web/orvane-web.d.ts" "$misuses" >"$directory/misuses.log"; then
  echo "Nothing was refused"
  exit 1
fi
line=2
while [ "$line" -le "$(wc -l <"$misuses")" ]; do
  grep -q "misuses.ts($line," "$directory/misuses.log" || {
    echo "Accepted: $(sed -n "${line}p" "$misuses")"
    exit 1
  }
  line=$((line + 1))
done

# Everything that the script object has, and nothing else.
grep -o '{"[A-Za-z]*", &Plugin::' "$web/../browsers/npapi_common/ovOrvaneWebScriptObject.cpp" |
  cut -d'"' -f2 | sort >"$directory/methods"
sed -n '/interface Plugin {/,/^  }/s/^    \([a-zA-Z]*\)(.*/\1/p' "$web/orvane-web.d.ts" |
  sort >"$directory/typed"
diff "$directory/methods" "$directory/typed"

# The module has them as well, but for those that its own methods take the place of.
grep -v 'Async$\|^pellionHttpRequest$' "$directory/methods" | while read -r method; do
  for file in orvane-web.mjs orvane-web.d.mts; do
    grep -q "^  $method(\|'$method'" "$web/$file" || {
      echo "Missing in $file: $method"
      exit 1
    }
  done
done
