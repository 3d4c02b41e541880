# shellcheck shell=bash
# Chroots ("roots") of other distributions, below $ZEL_ROOTS or build/roots. Sourced as root, after
# lib.sh, in a private mount namespace. Roots are kept and upgraded once a day.
#
# The mirrors are those in the package sources of this machine; if these have none of Ubuntu, the
# folder "ubuntu" beside Debian's. ZEL_DEBIAN_MIRROR and ZEL_UBUNTU_MIRROR set others.

roots=${ZEL_ROOTS:-$PWD/build/roots}

in_root() { # root, command
    local root=$1
    shift
    chroot "$root" env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

# Unmounts all mounts below a folder, innermost first.
unmount_below() {
    awk -v below="$1/" 'index($2, below) == 1 { print $2 }' /proc/self/mounts | tac |
        xargs --no-run-if-empty -n 1 umount --lazy
}

is_ubuntu() { # suite
    case $1 in bookworm | trixie | sid) return 1 ;; esac
}

# Prints the mirror of a suite.
mirror_of() { # suite
    local sites debian ubuntu
    # shellcheck disable=SC2016 # apt's fields
    sites=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 2>/dev/null) || true
    debian=${ZEL_DEBIAN_MIRROR:-$(grep -m 1 '/debian/$' <<<"$sites" || true)}
    ubuntu=${ZEL_UBUNTU_MIRROR:-$(grep -m 1 '/ubuntu/$' <<<"$sites" || true)}
    [[ -n $ubuntu || $debian != */debian/ ]] || ubuntu=${debian%debian/}ubuntu/
    if is_ubuntu "$1"; then
        echo "${ubuntu:?unknown mirror of Ubuntu: set ZEL_UBUNTU_MIRROR}"
    else
        echo "${debian:?unknown mirror of Debian: set ZEL_DEBIAN_MIRROR}"
    fi
}

# Prints the path of Ubuntu's keyring. Debian 12 has none; take that of Debian 13.
ubuntu_keyring() {
    local keyring=usr/share/keyrings/ubuntu-archive-keyring.gpg
    if [[ ! -f $roots/ubuntu/$keyring ]]; then
        minimal_root trixie >&2
        in_root "$roots/trixie-minimal" sh -ec 'cd /tmp && apt-get -q download ubuntu-keyring' >&2
        dpkg-deb -x "$roots"/trixie-minimal/tmp/ubuntu-keyring_*.deb "$roots/ubuntu"
    fi
    echo "$roots/ubuntu/$keyring"
}

# bring_up_to_date ROOT: upgrades its packages, at most once a day.
bring_up_to_date() {
    [[ -z $(find "$1.refreshed" -mmin -1440 2>/dev/null) ]] || return 0
    mountpoint -q "$1/proc" || mount -t proc proc "$1/proc"
    in_root "$1" apt-get -q update
    in_root "$1" apt-get -qy dist-upgrade
    in_root "$1" apt-get clean
    umount "$1/proc"
    touch "$1.refreshed"
}

# minimal_root SUITE: creates $roots/SUITE-minimal with the minimal packages of the distribution.
minimal_root() {
    local suite=$1 root=$roots/$1-minimal mirror script
    local -a signed=()
    if [[ ! -d $root ]]; then
        mirror=$(mirror_of "$suite")
        # debootstrap has one script for all suites of Debian and one for all of Ubuntu. Naming it
        # allows suites that debootstrap does not know.
        script=sid
        if is_ubuntu "$suite"; then
            signed=(--keyring "$(ubuntu_keyring)")
            script=gutsy
        fi
        rm -rf --one-file-system "$root.new"
        mkdir -p "$roots"
        debootstrap --variant=minbase --merged-usr "${signed[@]}" "$suite" "$root.new" "$mirror" \
            "/usr/share/debootstrap/scripts/$script"
        [[ $suite == sid ]] ||
            echo "deb $mirror $suite-updates main" >>"$root.new/etc/apt/sources.list"
        # Accept a mirror that is out of date, start no services, and do not sync to the disk: a
        # damaged root can be created again.
        echo 'Acquire::Check-Valid-Until "false";' >"$root.new/etc/apt/apt.conf.d/zel-mirror"
        echo force-unsafe-io >"$root.new/etc/dpkg/dpkg.cfg.d/zel"
        printf '#!/bin/sh\nexit 101\n' >"$root.new/usr/sbin/policy-rc.d"
        chmod +x "$root.new/usr/sbin/policy-rc.d"
        mv "$root.new" "$root"
    fi
    bring_up_to_date "$root"
}

# make_root NAME SUITE PACKAGE...: creates $roots/NAME of the suite with the packages.
make_root() {
    local root=$roots/$1 suite=$2 new=$roots/$1.new
    shift 2
    if [[ ! -d $root ]]; then
        minimal_root "$suite"
        unmount_below "$new"
        rm -rf --one-file-system "$new"
        cp -a "$roots/$suite-minimal" "$new"
        ! is_ubuntu "$suite" || sed -i 's/ main$/ main universe/' "$new/etc/apt/sources.list"
        printf 'APT::Install-Recommends "false";\n' >"$new/etc/apt/apt.conf.d/zel"
        mount -t proc proc "$new/proc"
        in_root "$new" apt-get -q update
        in_root "$new" apt-get -qy install "$@"
        in_root "$new" apt-get clean
        unmount_below "$new"
        mv "$new" "$root"
        touch "$root.refreshed"
    fi
    bring_up_to_date "$root"
}

# Creates $roots/SUITE with the libraries of a desktop without Qt.
make_desktop_root() { # suite
    local -a desktop=(ca-certificates fonts-dejavu-core libegl1 libgl1 libgssapi-krb5-2 libgtk-3-0
        libsm6)
    case $1 in
    bookworm | resolute) make_root "$1" "$1" "${desktop[@]}" wine wine64 ;;
    *) make_root "$1" "$1" "${desktop[@]}" ;;
    esac
}

# lay_over NAME FOLDER: mounts an overlay of $roots/NAME below FOLDER, which also holds its changes,
# and sets root to its path. Call unmount_below FOLDER before removing FOLDER.
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
