# shellcheck shell=bash
# Roots of other distributions, below $ZEL_ROOTS or build/roots; sourced as root, by scripts that have
# their own mounts. A root is made once: remove its folder to have it made anew, with the packages
# of that day.

roots=${ZEL_ROOTS:-$PWD/build/roots}

# Ubuntu signs with keys that Debian does not have. This package of theirs brings them.
ubuntu_keyring=http://archive.ubuntu.com/ubuntu/pool/main/u/ubuntu-keyring/ubuntu-keyring_2023.11.28.1_all.deb
ubuntu_keyring_sha256=36de43b15853ccae0028e9a767613770c704833f82586f28eb262f0311adb8a8

in_root() { # root, command
    local root=$1
    shift
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# Unmounts whatever is mounted below a folder, the innermost first.
unmount_below() {
    awk -v below="$1/" 'index($2, below) == 1 { print $2 }' /proc/self/mounts | tac |
        xargs --no-run-if-empty -n 1 umount
}

# make_root NAME SUITE PACKAGE...: the root $roots/NAME of that suite with those packages.
make_root() {
    local root=$roots/$1 suite=$2 new=$roots/$1.new mirror=http://deb.debian.org/debian
    local -a with=(--variant=minbase)
    shift 2
    [[ ! -d $root ]] || return 0
    unmount_below "$new"
    rm -rf --one-file-system "$new"
    mkdir -p "$roots"
    case $suite in
    bookworm | trixie)
        debootstrap "${with[@]}" "$suite" "$new" "$mirror"
        printf 'deb %s %s-updates main\ndeb %s-security %s-security main\n' \
            "$mirror" "$suite" "$mirror" "$suite" >>"$new/etc/apt/sources.list"
        ;;
    *)
        mirror=http://archive.ubuntu.com/ubuntu
        if [[ ! -f $roots/ubuntu/usr/share/keyrings/ubuntu-archive-keyring.gpg ]]; then
            curl -sSf -o "$roots/ubuntu-keyring.deb" "$ubuntu_keyring"
            echo "$ubuntu_keyring_sha256  $roots/ubuntu-keyring.deb" | sha256sum --check --quiet
            dpkg-deb -x "$roots/ubuntu-keyring.deb" "$roots/ubuntu"
        fi
        # One script of debootstrap's serves all of Ubuntu's suites, also those it does not know.
        debootstrap "${with[@]}" --merged-usr --components=main,universe \
            --keyring "$roots/ubuntu/usr/share/keyrings/ubuntu-archive-keyring.gpg" \
            "$suite" "$new" "$mirror" /usr/share/debootstrap/scripts/gutsy
        ;;
    esac
    # No recommended packages and no services; nothing of it has to survive a power cut.
    printf 'APT::Install-Recommends "false";\n' >"$new/etc/apt/apt.conf.d/zel"
    echo force-unsafe-io >"$new/etc/dpkg/dpkg.cfg.d/zel"
    printf '#!/bin/sh\nexit 101\n' >"$new/usr/sbin/policy-rc.d"
    chmod +x "$new/usr/sbin/policy-rc.d"
    mountpoint -q "$new/proc" || mount -t proc proc "$new/proc"
    in_root "$new" apt-get -q update
    in_root "$new" apt-get -qy dist-upgrade
    in_root "$new" apt-get -qy install "$@"
    in_root "$new" apt-get clean
    unmount_below "$new"
    mv "$new" "$root"
}

# The root of that suite's name, with what a desktop without Qt has.
make_desktop_root() { # suite
    local -a desktop=(ca-certificates fonts-dejavu-core libegl1 libgl1 libgssapi-krb5-2 libgtk-3-0
        libsm6)
    case $1 in
    bookworm | resolute) make_root "$1" "$1" "${desktop[@]}" wine wine64 ;;
    *) make_root "$1" "$1" "${desktop[@]}" ;;
    esac
}

# lay_over NAME FOLDER: sets root to FOLDER/NAME-N, a root over that of the name. Its changes are
# kept in FOLDER, too; unmount_below FOLDER before that is removed.
layers=0
lay_over() {
    layers=$((layers + 1))
    root=$2/$1-$layers
    local changes=$2/changes-$layers
    mkdir -p "$root" "$changes"/{upper,work}
    mount -t overlay overlay "$root" \
        -o "lowerdir=$roots/$1,upperdir=$changes/upper,workdir=$changes/work"
    mount -t proc proc "$root/proc"
}
