#!/bin/sh
# Checks the types of the browser extension's scripts. Installs the compiler and the browsers' types into
# DIRECTORY once. Exit code 77 when they cannot be had. Usage: check_extension.sh EXTENSION DIRECTORY
set -eu
extension=$(realpath "$1")
mkdir -p "$2"
directory=$(realpath "$2")

skip() {
  echo "Skipped: $1"
  exit 77
}

if [ ! -d "$directory/node_modules/@types/chrome" ]; then
  command -v npm >/dev/null || skip "there is no npm"
  echo '{"private": true}' >"$directory/package.json"
  npm install --prefix "$directory" --no-save --no-package-lock --no-audit --no-fund \
    typescript@5.9.3 @types/chrome@0.3.7 >"$directory/npm.log" 2>&1 ||
    skip "npm could not install the compiler: $(grep -m 1 'npm error' "$directory/npm.log")"
fi

cat >"$directory/tsconfig.json" <<END
{
  "compilerOptions": {
    "allowJs": true, "checkJs": true, "strict": true, "noEmit": true,
    "noUnusedLocals": true, "noImplicitReturns": true,
    "target": "es2024", "module": "es2022", "lib": ["es2024", "dom", "dom.iterable"],
    "types": ["chrome"], "typeRoots": ["$directory/node_modules/@types"]
  },
  "include": ["$extension/background", "$extension/content", "$extension/page", "$extension/popup"]
}
END
"$directory/node_modules/.bin/tsc" -p "$directory/tsconfig.json"
