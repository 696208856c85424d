#!/usr/bin/env bash
#
# Makes the installer and the archive out of a folder that was laid out. To be sourced after
# tools/setup.sh.
: "${root:?tools/setup.sh comes first}" "${build:?}"

# A GUID in the installer's form, derived from a text: the same text gives the same GUID.
guid_of() { # text
    local hash
    hash=$(printf '%s' "$1" | sha256sum | tr '[:lower:]' '[:upper:]')
    printf '%s-%s-5%s-8%s-%s\n' "${hash:0:8}" "${hash:8:4}" "${hash:13:3}" "${hash:17:3}" \
        "${hash:20:12}"
}

# What is in a folder, by names and bytes.
fingerprint() { # folder
    (cd "$1" && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum | sha256sum)
}

# The random names of the folders become numbers.
number_folders() { # file
    local name names number=0
    mapfile -t names < <(grep -oE 'dir[0-9A-F]{32}' "$1" | awk '!seen[$0]++')
    for name in "${names[@]}"; do
        sed -i "s/$name/folder$((++number))/g" "$1"
    done
}

make_msi() { # folder, file
    local stage=${1#"$root/"} # wixl takes no absolute names
    local product action type files=$build/package/files.wxs log=$build/package/wixl.log
    # Two packages are two products to the installer, unless they are the same.
    product=$(guid_of "$(fingerprint "$1")$(sha256sum tools/packaging/talvern.wxs)")
    # The compiler takes files by their names from here only, and no wildcards.
    find "$stage" -type f ! -path "$stage/talvern.dll" ! -path "$stage/*register.cmd" | LC_ALL=C sort |
        wixl-heat --prefix "$stage/" --var var.Stage --directory-ref INSTALLDIR \
            --component-group Files --win64 >"$files"
    number_folders "$files"
    rm -f "$2"
    # It reports some errors without failing.
    if ! wixl --arch x64 -D Version="${1##*-}" -D ProductCode="$product" -D Stage="$stage" \
        -D Packaging=tools/packaging -D Win64=yes \
        -o "$2" tools/packaging/talvern.wxs "$files" >"$log" 2>&1 || [ -s "$log" ]; then
        fail "wixl cannot make the package; see build/package/wixl.log"
    fi
    # A rollback's action is a deferred one that is skipped until then.
    for action in TakeRegistrationBack TakeUnregistrationBack; do
        type=$(msiinfo export "$2" CustomAction | tr -d '\r' | awk -v "name=$action" '$1 == name { print $2 }')
        msibuild "$2" -q "UPDATE \`CustomAction\` SET \`Type\` = $((type | 256)) WHERE \`Action\` = '$action'" ||
            fail "the action $action cannot be kept for a rollback"
    done
    # So tvntrace is found by its name: set on installation, removed with the product, for all users.
    msibuild "$2" -q "CREATE TABLE \`Environment\` (\`Environment\` CHAR(72) NOT NULL, \
            \`Name\` CHAR(255) NOT NULL LOCALIZABLE, \`Value\` CHAR(255) LOCALIZABLE, \
            \`Component_\` CHAR(72) NOT NULL PRIMARY KEY \`Environment\`)" \
        "INSERT INTO \`Environment\` (\`Environment\`, \`Name\`, \`Value\`, \`Component_\`) \
            VALUES ('Path', '=-*PATH', '[~];[INSTALLDIR]', 'Server')" ||
        fail "the package cannot be told to put its folder on the path"
    tools/packaging/summary.py "$2" "{$(guid_of "package $product")}" "$SOURCE_DATE_EPOCH" ||
        fail "the package cannot be given its code and time"
}

make_zip() { # folder, file
    rm -f "$2"
    (cd "$(dirname "$1")" && find "$(basename "$1")" -type f | LC_ALL=C sort |
        zip -q -X -9 "$2" -@) || fail "the archive cannot be made"
}
