"""Where the real scenes lie: the folder that KXOPT_ASSETS names, otherwise shared/assets beside the source tree."""

import os
import sys


def assetsFolder(part):
    """The folder `part` of the assets; without it the program ends with 77, which ctest shows as skipped."""
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    assets = os.environ.get("KXOPT_ASSETS") or os.path.join(os.path.dirname(root), "shared", "assets")
    folder = os.path.join(assets, part)
    if not os.path.isdir(folder):
        print(f"SKIPPED: no {part} in the assets (KXOPT_ASSETS names their folder)")
        sys.exit(77)
    return folder
