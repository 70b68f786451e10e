#!/usr/bin/env bash
# scripts/check-style.sh passes well-formatted files of each language and fails each misformatted
# one. The files are copies in a temporary folder, so the tree is never touched.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$root/.clang-format" "$work/"  # clang-format reads the settings beside the file

cat >"$work/good.cpp" <<'CPP'
int twice(int value) {
  return value * 2;
}
CPP
printf 'int twice(int value){return value*2;}\n' >"$work/bad.cpp"
cat >"$work/good.py" <<'PY'
def twice(value):
    return value * 2
PY
printf 'def twice( value ):\n  return value*2\n' >"$work/bad.py"
cat >"$work/good.sh" <<'SH'
#!/usr/bin/env bash
echo "$1"
SH
# shellcheck disable=SC2016 # the unquoted $1 is the fault shellcheck must find
printf '#!/usr/bin/env bash\necho $1\n' >"$work/bad.sh"
cat >"$work/good.swift" <<'SWIFT'
func twice(_ value: Int) -> Int { value * 2 }
SWIFT
printf 'func twice(_ value: Int) -> Int {   value*2 }\n' >"$work/bad.swift"

languages=(cpp py sh)
if command -v swift-format >/dev/null || [[ -x /opt/swift/usr/bin/swift-format ]]; then
  languages+=(swift)
fi

failures=0
for language in "${languages[@]}"; do
  if ! bash "$root/scripts/check-style.sh" "$work/good.$language" >"$work/log" 2>&1; then
    echo "FAIL: a well-formatted .$language file was refused:"
    cat "$work/log"
    failures=$((failures + 1))
  fi
  if bash "$root/scripts/check-style.sh" "$work/bad.$language" >"$work/log" 2>&1; then
    echo "FAIL: a misformatted .$language file passed"
    failures=$((failures + 1))
  fi
done
echo "check-style: ${#languages[@]} languages, $failures failures"
((failures == 0))
