#!/bin/sh
# Instala ou atualiza o ZEL Launcher sem direitos de administrador.
#
#   ./install.sh                  na pasta pessoal, com entrada no menu
#   ./install.sh --into PASTA     na pasta do jogo, sem entrada no menu
#
# Para remover: uninstall.sh.
set -eu
umask 022

here=$(dirname "$(readlink -f "$0")")

refuse() {
    printf '%s\n' "$1" >&2
    exit 1
}

into=
if [ $# -eq 2 ] && [ "$1" = --into ] && [ -n "$2" ]; then
    into=$2
elif [ $# -ne 0 ]; then
    refuse "Uso: install.sh [--into PASTA]"
fi

"$here/verificar.sh" >/dev/null || {
    "$here/verificar.sh" >&2 || true
    exit 1
}
new=
for list in "$here"/zel-launcher.files/*/ARQUIVOS; do
    [ -z "$new" ] || refuse "Execute o install.sh da pasta que veio no arquivo."
    new=$(basename "$(dirname "$list")")
done
list=$here/zel-launcher.files/$new/ARQUIVOS
while read -r path; do
    [ -f "$here/$path" ] || refuse "Falta $path: descompacte o arquivo inteiro de novo."
done <"$list"

# ---- the target folder

if [ -n "$into" ]; then
    [ -d "$into" ] || refuse "A pasta $into nao existe."
    target=$(readlink -f "$into")
else
    case ${HOME:-} in
    /*) [ -d "$HOME" ] || refuse "A pasta pessoal $HOME nao existe." ;;
    *) refuse "A variavel HOME nao diz qual e a sua pasta pessoal." ;;
    esac
    case ${XDG_DATA_HOME:-} in
    /*) data=$XDG_DATA_HOME ;;
    *) data=$HOME/.local/share ;;
    esac
    bin=$HOME/.local/bin
    target=$data/zel-launcher
    mkdir -p "$target" "$bin" || refuse "Nao foi possivel criar $target e $bin."
    target=$(readlink -f "$target")
fi
[ "$target" != "$here" ] || refuse "Esta e a pasta do proprio arquivo; escolha outra."
[ -w "$target" ] || refuse "Nao ha permissao para gravar em $target."

programs() { grep -v / "$1"; } # in the list of a version

# Whether the list of an installed version contains the program.
is_ours() { cat "$target"/zel-launcher.files/*/ARQUIVOS 2>/dev/null | grep -qxF "$1"; }
for program in $(programs "$list"); do
    [ ! -e "$target/$program" ] && [ ! -L "$target/$program" ] || is_ours "$program" ||
        refuse "Em $target ja ha um $program que nao veio deste arquivo; tire-o de la antes."
    if [ -z "$into" ] && { [ -e "$bin/$program" ] || [ -L "$bin/$program" ]; }; then
        [ "$(readlink "$bin/$program")" = "$target/$program" ] ||
            refuse "$bin/$program nao veio deste arquivo; tire-o de la antes."
    fi
done
menu=zel_launcher.desktop
if [ -z "$into" ] && [ -e "$data/applications/$menu" ] &&
    ! grep -qx 'X-ZEL-Portable=true' "$data/applications/$menu"; then
    refuse "$data/applications/$menu nao veio deste arquivo; tire-o de la antes."
fi

# put FILE PATH: replaces PATH atomically.
put() {
    mkdir -p "$(dirname "$2")"
    cp "$1" "$2.novo"
    mv -f "$2.novo" "$2"
}

# Disks of other systems are often mounted noexec.
cp "$here/verificar.sh" "$target/zel_launcher.novo"
runs=true
[ -x "$target/zel_launcher.novo" ] || runs=false
rm -f "$target/zel_launcher.novo"
$runs || refuse "Em $target nao e permitido executar programas; escolha outra pasta."

# ---- first the libraries, in a folder for their version, then the programs, which use that folder;
# ---- earlier versions are removed last, so that an interruption leaves each program its libraries

put "$list" "$target/zel-launcher.files/$new/ARQUIVOS"
grep / "$list" | while read -r path; do
    put "$here/$path" "$target/$path"
done
for script in uninstall.sh verificar.sh LEIA-ME.txt; do
    put "$here/$script" "$target/zel-launcher.files/$script"
done
programs "$list" | while read -r program; do
    put "$here/$program" "$target/$program"
done
rm -f "$target"/zel-launcher.files/*/ARQUIVOS.novo
for earlier in "$target"/zel-launcher.files/*/ARQUIVOS; do
    version=$(basename "$(dirname "$earlier")")
    [ "$version" != "$new" ] || continue
    while read -r path; do
        rm -f "$target/$path.novo"
        grep -qxF "$path" "$list" || [ "$path" = "zel-launcher.files/$version/ARQUIVOS" ] ||
            rm -f "$target/$path"
    done <"$earlier"
    rm -f "$earlier"
done
find "$target/zel-launcher.files" -depth -type d -exec rmdir {} + 2>/dev/null || true

# ---- links, menu entry and icons

if [ -z "$into" ]; then
    programs "$list" | while read -r program; do
        ln -sfn "$target/$program" "$bin/$program.novo"
        mv -f "$bin/$program.novo" "$bin/$program"
    done
    for link in "$bin"/*; do # remove links to programs that this version no longer has
        case $(readlink "$link") in
        "$target"/*) [ -e "$link" ] || rm -f "$link" ;;
        esac
    done
    share=$target/zel-launcher.files/$new/share
    (cd "$share/icons" && find . -type f) | while read -r icon; do
        put "$share/icons/$icon" "$data/icons/$icon"
    done
    # A desktop entry needs a quoted command in which each backslash is escaped once more.
    command=$(printf '%s' "$target/zel_launcher" | sed 's/[\\"`$]/\\&/g; s/%/%%/g; s/\\/\\\\/g')
    entry=$target/zel-launcher.files/$menu.novo
    {
        grep -vE '^(Exec|TryExec)=' "$share/applications/$menu"
        printf 'Exec="%s"\nX-ZEL-Portable=true\n' "$command"
    } >"$entry"
    put "$entry" "$data/applications/$menu"
    rm -f "$entry"
fi

printf 'O ZEL Launcher esta em %s.\n' "$target"
printf 'Para remover: %s/zel-launcher.files/uninstall.sh\n' "$target"
