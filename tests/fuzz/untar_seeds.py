#!/usr/bin/env python3
"""Writes the seeds of UnTarFuzzer (seeds/UnTarFuzzer): small archives with the tricks that hostile ones play."""
import gzip
import os
import sys
import tarfile

KINDS = {"d": tarfile.DIRTYPE, ">": tarfile.SYMTYPE, "#": tarfile.LNKTYPE, "=": tarfile.REGTYPE}
SEEDS = {  # kind, name, and the target or the content
    "ordinary": ["d jre/", "d jre/bin/", "= jre/bin/java #!", "> jre/l bin/java", "= jre/._x y"],
    "climbing": ["= ../canary/file x", "d a/", "= a/../../canary/file x", "d ../canary/n/", "= a/../b x"],
    "link": ["> l ../canary", "= l/file x", "d l/n/", "> l/s x", "d l/"],
    "chain": ["> a ..", "> b a/canary", "> c b", "= c/file x", "= a/n x"],
    "replaced": ["d d/", "> l d", "= l/a x", "> l ../canary", "= l/file x", "> d ../canary", "= d/n x"],
    "itself": ["> f ../canary/file", "= f x", "# h ../canary/file", "= h x"],
    "inside": ["d d/", "> a d", "= a/x x", "= a/../y x", "> b a", "d b/c/d/"],
}


def archive(entries):
    tar_bytes = b""
    for entry in entries:
        kind, name, rest = (entry + " ").split(" ")[:3]
        info = tarfile.TarInfo(name)
        info.type = KINDS[kind]
        if kind == "=":
            info.size = len(rest)
            tar_bytes += info.tobuf(tarfile.USTAR_FORMAT) + rest.encode().ljust(512, b"\0")
        else:
            info.linkname = rest
            tar_bytes += info.tobuf(tarfile.USTAR_FORMAT)
    return tar_bytes + bytes(1024)


os.makedirs(sys.argv[1], exist_ok=True)
for name, entries in SEEDS.items():
    with open(os.path.join(sys.argv[1], name), "wb") as seed:
        seed.write(archive(entries))
with open(os.path.join(sys.argv[1], "packed"), "wb") as seed:
    seed.write(gzip.compress(archive(SEEDS["ordinary"]), mtime=0))
