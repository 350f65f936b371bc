# shellcheck shell=bash
# Sourced by the scripts beside it: where the tree stands, how many jobs a build may use, and the compiler cache.

set -euo pipefail

kxRoot="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
kxJobs="${KXOPT_JOBS:-$(nproc)}"
cd "$kxRoot"

# Two clones of the tree share the cache: paths below the tree are stored relative to it, and debug information does not
# make the compiler's working directory part of the key.
if command -v ccache >/dev/null
then
    export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}"
    export CCACHE_BASEDIR="$kxRoot"
    export CCACHE_NOHASHDIR=true
fi

# Configures and builds one preset; the names of targets may follow, all of them otherwise.
kxBuild()
{
    local preset="$1"
    shift
    cmake --preset "$preset"
    if (($#))
    then
        cmake --build --preset "$preset" --parallel "$kxJobs" --target "$@"
    else
        cmake --build --preset "$preset" --parallel "$kxJobs"
    fi
}
