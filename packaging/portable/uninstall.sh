#!/bin/sh
# Remove o que install.sh instalou, e nada mais. As configuracoes ficam.
#
#   PASTA/zel-launcher.files/uninstall.sh     o que esta nessa pasta
#   ./uninstall.sh                            o que esta na pasta pessoal
#   ./uninstall.sh --from PASTA               o que esta na pasta do jogo
set -eu

refuse() {
    printf '%s\n' "$1" >&2
    exit 1
}

here=$(dirname "$(readlink -f "$0")")
case ${XDG_DATA_HOME:-} in
/*) data=$XDG_DATA_HOME ;;
*) data=${HOME:-}/.local/share ;;
esac
home_target=$data/zel-launcher
[ ! -d "$home_target" ] || home_target=$(readlink -f "$home_target")

if [ $# -eq 2 ] && [ "$1" = --from ]; then
    [ -d "$2" ] || refuse "A pasta $2 nao existe."
    target=$(readlink -f "$2")
elif [ $# -ne 0 ]; then
    refuse "Uso: uninstall.sh [--from PASTA]"
elif [ "$(basename "$here")" = zel-launcher.files ]; then
    target=$(dirname "$here")
else
    target=$home_target
fi
# Only install.sh copies this script there, so the folder of the archive is not an installation.
[ -f "$target/zel-launcher.files/uninstall.sh" ] || refuse "Em $target nao ha nada instalado."

# ---- links, menu entry and icons

if [ "$target" = "$home_target" ]; then
    menu=$data/applications/zel_launcher.desktop
    if [ -f "$menu" ] && grep -qx 'X-ZEL-Portable=true' "$menu"; then
        rm -f "$menu"
    fi
    rm -f "$menu.novo"
    cat "$target"/zel-launcher.files/*/ARQUIVOS | while read -r path; do
        case $path in
        */share/icons/*)
            icon=$data/icons/${path#*/share/icons/}
            rm -f "$icon" "$icon.novo"
            ;;
        esac
    done
    for link in "$HOME"/.local/bin/*; do
        case $(readlink "$link") in
        "$target"/*) rm -f "$link" ;;
        esac
    done
fi

# ---- the programs and their folder

for list in "$target"/zel-launcher.files/*/ARQUIVOS; do
    while read -r path; do
        rm -f "$target/$path.novo"
        case $path in
        */ARQUIVOS) ;;
        *) rm -f "$target/$path" ;;
        esac
    done <"$list"
done
rm -f "$target"/zel-launcher.files/*/ARQUIVOS "$target"/zel-launcher.files/*/ARQUIVOS.novo
for script in uninstall.sh verificar.sh LEIA-ME.txt zel_launcher.desktop; do
    rm -f "$target/zel-launcher.files/$script" "$target/zel-launcher.files/$script.novo"
done
find "$target/zel-launcher.files" -depth -type d -exec rmdir {} + 2>/dev/null || true
[ "$target" != "$home_target" ] || rmdir "$target" 2>/dev/null || true

if [ -e "$target/zel-launcher.files" ]; then
    printf 'Removido. Em %s ficaram arquivos que nao vieram do launcher.\n' \
        "$target/zel-launcher.files"
else
    echo "Removido."
fi
