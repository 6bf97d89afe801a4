#!/usr/bin/env python3
"""duplicates-floor.py DIR [MIN_BYTES]

The least a sampled duplicate search of DIR must read: files of at most 8 MiB
whose size and three 1 MiB samples (start, middle, end) match another file's are
hashed whole, so those bytes are read whatever else is done. Prints that floor
and, beside it, the least that tallyfin's stages read (64 KiB heads of every
file sharing its size, the 3 MiB fingerprint of larger files, whole small files
past it, and 48 samples of 64 KiB of larger ones), both as a share of the bytes
of every candidate (files of MIN_BYTES and more, default 1 MB, counted once per
inode, sparse files left out as the search does).
"""
import collections
import hashlib
import os
import sys

MiB = 1 << 20
WHOLE = 8 * MiB
HEAD = 64 * 1024


def read(path, offset, length):
    with open(path, "rb") as f:
        f.seek(offset)
        return f.read(length)


def head(path, size):
    return hashlib.sha256(size.to_bytes(8, "little") + read(path, 0, HEAD)).digest()


def fingerprint(path, size):
    h = hashlib.sha256(size.to_bytes(8, "little"))
    for offset in (0, max(size // 2, MiB // 2) - MiB // 2, max(size - MiB, 0)):
        h.update(read(path, offset, MiB))
    return h.digest()


def regroup(groups, key):
    kept = []
    for group in groups:
        by = collections.defaultdict(list)
        for f in group:
            by[key(f)].append(f)
        kept += [g for g in by.values() if len(g) >= 2]
    return kept


def main():
    root = sys.argv[1]
    minimum = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    seen, candidates = set(), []
    for folder, _, names in os.walk(root):
        for name in names:
            path = os.path.join(folder, name)
            st = os.lstat(path)
            if not os.path.isfile(path) or os.path.islink(path) or st.st_size < minimum:
                continue
            if (st.st_dev, st.st_ino) in seen or st.st_blocks * 512 < st.st_size // 2:
                continue
            seen.add((st.st_dev, st.st_ino))
            candidates.append((path, st.st_size))
    total = sum(size for _, size in candidates)
    same_size = regroup([candidates], lambda f: f[1])
    same_head = regroup(same_size, lambda f: head(*f))
    similar = regroup(same_size, lambda f: fingerprint(*f))
    in_similar = {f for g in similar for f in g}
    in_head = {f for g in same_head for f in g}

    floor = sum(size for _, size in in_similar if size <= WHOLE)
    ours = sum(min(size, HEAD) for g in same_size for _, size in g)
    for path, size in in_head:
        if size <= WHOLE:
            ours += size - min(size, HEAD)  # read whole, after the head
        else:
            ours += 3 * MiB - HEAD  # the fingerprint, after the head
    big_similar = [f for g in regroup(same_head, lambda f: fingerprint(*f)) for f in g if f[1] > WHOLE]
    ours += 48 * 64 * 1024 * len(big_similar)

    def share(n):
        return f"{n / 1e6:,.1f} MB = {100 * n / total:.2f} % of the candidates' bytes"

    print(f"candidates: {len(candidates)} files, {total / 1e6:,.0f} MB; {sum(map(len, same_size))} share a size, "
          f"{len(in_head)} a head, {len(in_similar)} a fingerprint")
    print(f"floor (files of at most 8 MiB past the fingerprint, read whole): {share(floor)}")
    print(f"least read by tallyfin's stages: {share(ours)}")


if __name__ == "__main__":
    main()
