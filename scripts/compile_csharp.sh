#!/usr/bin/env bash
# compile_csharp.sh <output dll>: the C# binding as an assembly, and its comments as .xml beside it. The same
# source gives the same bytes, wherever and whenever it is compiled.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

version=$(sed -nE 's/^#define TLLOGICS_VERSION "(.*)"$/\1/p' "$root/api/tllogics.h")
cat >"$work/Version.cs" <<END
[assembly: System.Reflection.AssemblyTitle("tllogics")]
[assembly: System.Reflection.AssemblyVersion("$version.0")]
[assembly: System.Reflection.AssemblyFileVersion("$version.0")]
[assembly: System.Reflection.AssemblyInformationalVersion("$version")]
END

# Of the library of classes mscorlib alone, and no debug data, which has paths in it.
export LC_ALL=C
mcs -noconfig -langversion:7 -warnaserror -deterministic -optimize -target:library \
    -out:"$work/Tllogics.dll" -doc:"$work/Tllogics.xml" "$root"/bindings/csharp/*.cs "$work/Version.cs"

install -D -m 644 "$work/Tllogics.dll" "$1"
install -m 644 "$work/Tllogics.xml" "${1%.dll}.xml"
