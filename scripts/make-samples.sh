#!/bin/sh
# Installs the sample iPhoto and Aperture libraries into OUTDIR, with the
# applications' preferences pointing at them:
#   scripts/make-samples.sh OUTDIR
#   XDG_CONFIG_HOME=OUTDIR/config orv-photos tree
set -eu
if [ $# -ne 1 ]; then
    echo "usage: $0 OUTDIR" >&2
    exit 2
fi
exec python3 "$(dirname "$0")/make-samples.py" install "$1"
