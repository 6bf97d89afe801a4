#!/usr/bin/env python3
"""make-sparse-tree.py DEST --files N [make-tree.py's options]

The same tree as ../shared/bench/make-tree.py builds (same names, sizes, links and
times for the same seed), except that every file it would allocate is sparse:
the size is set and no block is reserved. Trees of 3 and 5 million files then fit
on a small disk; the scanner's work (listing and stat) is the same, only the
allocated sizes it adds up are smaller.
"""

import importlib.util
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.join(HERE, "..", "..", "shared", "bench", "make-tree.py")

spec = importlib.util.spec_from_file_location("make_tree", SOURCE)
make_tree = importlib.util.module_from_spec(spec)
spec.loader.exec_module(make_tree)


def sparse(fd, offset, length):
    """Stands in for posix_fallocate: the file reaches the size, with no blocks."""
    if os.fstat(fd).st_size < offset + length:
        os.ftruncate(fd, offset + length)


make_tree.os.posix_fallocate = sparse
if __name__ == "__main__":
    sys.exit(make_tree.main())
