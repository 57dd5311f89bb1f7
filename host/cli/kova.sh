#!/bin/sh
# Starts kova with the loader and the libraries that it was built with.
folder=$(dirname "$(readlink -f "$0")")/../lib/kova
exec "$folder/ld-linux.so.2" --library-path "$folder" --argv0 "$0" "$folder/kova" "$@"
