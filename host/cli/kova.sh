#!/bin/sh
# Starts kova with the loader and the libraries that it was built with.
program=$0
if [ -L "$program" ] || [ "${program%/*}" = "$program" ]; then program=$(readlink -f "$program"); fi
folder=${program%/*}/../lib/kova
exec "$folder/ld-linux.so.2" --library-path "$folder" --argv0 "$0" "$folder/kova" "$@"
