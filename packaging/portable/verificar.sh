#!/bin/sh
# Diz o que falta neste sistema para o ZEL Launcher. Nao muda nada.
#
#   ./verificar.sh
#
# Termina com 0 se nada falta, com 1 se falta alguma coisa.
set -u

here=$(dirname "$(readlink -f "$0")")
# In the archive, this script is beside zel-launcher.files; in an installation, inside it.
[ "$(basename "$here")" = zel-launcher.files ] && here=$(dirname "$here")

refuse() {
    printf '%s\n' "$1"
    exit 1
}

list=
for file in "$here"/zel-launcher.files/*/BIBLIOTECAS.txt; do
    [ -f "$file" ] && list=$file
done
[ -n "$list" ] || refuse "Falta a pasta zel-launcher.files: descompacte o arquivo inteiro de novo."
required() { sed -n "s/^exige $1 //p" "$list"; }

processor=$(uname -m)
[ "$processor" = "$(required processador)" ] ||
    refuse "O ZEL Launcher precisa de um processador $(required processador); este e $processor."

glibc=$(getconf GNU_LIBC_VERSION 2>/dev/null) && glibc=${glibc#glibc } || glibc=
[ -n "$glibc" ] || refuse "O ZEL Launcher precisa da glibc $(required glibc) ou mais nova; este \
sistema usa outra biblioteca C (por exemplo musl)."
oldest=$(printf '%s\n%s\n' "$glibc" "$(required glibc)" | sort -V | head -n 1)
[ "$oldest" = "$(required glibc)" ] || refuse "O ZEL Launcher precisa da glibc $(required glibc) ou \
mais nova; esta e a $glibc. Use uma versao mais nova da distribuicao."

missing=
complain() {
    printf '%s\n' "$1"
    missing=1
}

[ -x /bin/bash ] || complain "Falta o /bin/bash, que inicia o jogo."

# Ask the dynamic linker, which knows all its search paths.
linker=/lib64/ld-linux-x86-64.so.2
[ -x "$linker" ] || refuse "Falta $linker: este sistema nao guarda as bibliotecas no lugar usual."
while read -r kind name package; do
    [ "$kind" = sistema ] || continue
    "$linker" --list "$name" >/dev/null 2>&1 ||
        complain "Falta a biblioteca $name (no Debian, do pacote $package)."
done <"$list"

# All are present, but one may be too old.
if [ -z "$missing" ]; then
    reason=$("$linker" --list "$here/zel_launcher" 2>&1 >/dev/null) ||
        complain "Uma biblioteca do sistema e antiga demais: $reason"
fi

[ -z "$missing" ] || exit 1
echo "Nada falta para o ZEL Launcher. Para o jogo e preciso tambem o Wine."
