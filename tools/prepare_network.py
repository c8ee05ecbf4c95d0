#!/usr/bin/python3
"""Makes a network that the models take out of an ordinary export; see --help."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))

try:
    from prepare.command_line import main
except ImportError as error:
    print(f"prepare_network.py: {error}; install python3-onnx and python3-numpy (scripts/install-packages)",
          file=sys.stderr)
    sys.exit(3)

if __name__ == "__main__":
    sys.exit(main())
