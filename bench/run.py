#!/usr/bin/env python3
"""The benchmark of large blogs: builds a site of N generated posts and times
its export.

    bench/run.py BUILD_DIR [--sizes 1000,10000,100000] [--work DIR]
                           [--compare-no-cache] [--keep]

For each N it writes the corpus (bench/gen_corpus.py, fixed seed; kept in the
work folder and reused), makes a site with `quillfen new` and
`quillfen post add --jsonl`, then runs `quillfen export` and prints:

  - the corpus's size, the time of `post add --jsonl` (and its peak memory
    as a multiple of the corpus) and of opening the site (`post list`)
  - export wall time, CPU time (user + sys) and peak memory of the process
  - files and bytes written
  - the time `cp -r` takes to copy the output (the floor for writing it)

--compare-no-cache exports a second time with QUILLFEN_NO_CACHE=1 and checks
with `diff -r` that the output is byte for byte the same, printing both
times. Every child's time and memory come from wait4(), so no external tool
is needed. The work folder (default: a folder under /tmp) is removed at the
end unless --keep is given.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))


class Measured:
    def __init__(self, wall, user, system, peak_kib, code):
        self.wall = wall
        self.cpu = user + system
        self.peak_mib = peak_kib / 1024.0
        self.code = code


def run(argv, env, stdout=subprocess.DEVNULL, stdin=None):
    """Runs argv and measures that child alone (wall, CPU, peak RSS)."""
    start = time.monotonic()
    child = subprocess.Popen(argv, env=env, stdout=stdout, stderr=subprocess.PIPE, stdin=stdin)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    err = child.stderr.read().decode("utf-8", "replace")
    child.stderr.close()
    if child.returncode != 0:
        sys.exit(f"bench: {' '.join(argv)} failed ({child.returncode}):\n{err}")
    # ru_maxrss is in KiB on Linux.
    return Measured(wall, usage.ru_utime, usage.ru_stime, usage.ru_maxrss, child.returncode)


def tree_size(folder):
    files = 0
    size = 0
    for root, _, names in os.walk(folder):
        for name in names:
            files += 1
            size += os.path.getsize(os.path.join(root, name))
    return files, size


def human(size):
    for unit in ("B", "KiB", "MiB", "GiB"):
        if size < 1024 or unit == "GiB":
            return f"{size:.1f} {unit}" if unit != "B" else f"{size} B"
        size /= 1024.0
    return f"{size} B"


def discard(path, trash):
    """Moves a tree into the trash folder, emptied after the last size.

    On ext4 without a journal, creating files is slow for a minute or more
    after many files were deleted nearby, so deleting one size's output
    right away would be charged to the next size's export."""
    if os.path.exists(path):
        os.makedirs(trash, exist_ok=True)
        os.rename(path, tempfile.mkdtemp(dir=trash))


def bench(quillfen, count, work, env, compare, trash):
    corpus = os.path.join(work, f"posts-{count}.jsonl")
    if not os.path.exists(corpus):
        with open(corpus + ".part", "w", encoding="utf-8") as out:
            subprocess.run([sys.executable, os.path.join(HERE, "gen_corpus.py"), str(count)], stdout=out, check=True)
        os.replace(corpus + ".part", corpus)

    site = os.path.join(work, f"site-{count}.qfsite")
    if os.path.exists(site):
        os.remove(site)
    run([quillfen, "new", site, "--title", f"Bench {count}", "--base-url", "http://localhost/bench/"], env)
    run([quillfen, "set", site, "enableRSS", "true"], env)
    # Five years of posts are archived by month, as such a blog would be; by
    # week every page's sidebar would carry some 260 archive links.
    run([quillfen, "set", site, "archivePostsPeriod", "1"], env)
    added = run([quillfen, "post", "add", site, "--jsonl", corpus], env)
    opened = run([quillfen, "post", "list", site], env)

    output = os.path.join(work, f"out-{count}")
    discard(output, trash)
    exported = run([quillfen, "export", site, output], env)
    files, size = tree_size(output)

    copy = output + "-copy"
    discard(copy, trash)
    copied = run(["cp", "-r", output, copy], env)
    discard(copy, trash)

    corpus_size = os.path.getsize(corpus)
    ratio = added.peak_mib * 1024 * 1024 / corpus_size
    print(f"{count} posts")
    print(f"  corpus            {human(corpus_size)}")
    print(f"  post add --jsonl  {added.wall:8.2f} s wall {added.cpu:8.2f} s CPU {added.peak_mib:8.1f} MiB peak"
          f" ({ratio:.1f}x the corpus)")
    print(f"  open (post list)  {opened.wall:8.2f} s wall {opened.cpu:8.2f} s CPU {opened.peak_mib:8.1f} MiB peak")
    print(f"  export            {exported.wall:8.2f} s wall {exported.cpu:8.2f} s CPU {exported.peak_mib:8.1f} MiB peak")
    print(f"  written           {files} files, {human(size)}")
    print(f"  cp -r of output   {copied.wall:8.2f} s wall")

    if compare:
        uncached = output + "-nocache"
        discard(uncached, trash)
        plain_env = dict(env, QUILLFEN_NO_CACHE="1")
        without = run([quillfen, "export", site, uncached], plain_env)
        same = subprocess.run(["diff", "-r", "-q", output, uncached], stdout=subprocess.PIPE, text=True)
        print(f"  export, no caches {without.wall:8.2f} s wall {without.cpu:8.2f} s CPU {without.peak_mib:8.1f} MiB peak")
        if same.returncode == 0:
            print("  outputs with and without caches are identical")
        else:
            print("  OUTPUTS DIFFER with and without caches:")
            print("    " + "\n    ".join(same.stdout.splitlines()[:20]))
        discard(uncached, trash)
        if same.returncode != 0:
            return False
    discard(output, trash)
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build_dir")
    parser.add_argument("--sizes", default="1000,10000,100000")
    parser.add_argument("--work")
    parser.add_argument("--compare-no-cache", action="store_true")
    parser.add_argument("--keep", action="store_true")
    args = parser.parse_args()

    quillfen = os.path.join(os.path.abspath(args.build_dir), "bin", "quillfen")
    if not os.access(quillfen, os.X_OK):
        sys.exit(f"bench: {quillfen} is missing; build first")
    sizes = [int(size) for size in args.sizes.split(",") if size]
    work = os.path.abspath(args.work) if args.work else tempfile.mkdtemp(prefix="quillfen-bench-")
    os.makedirs(work, exist_ok=True)

    # User defaults stay in the work folder; dates are read in one fixed zone.
    env = dict(os.environ, HOME=work, XDG_CONFIG_HOME=os.path.join(work, "config"),
               TZ=os.environ.get("TZ", "Europe/Berlin"), LC_ALL="C.UTF-8")
    print(f"quillfen: {quillfen}\nwork folder: {work}\n")
    ok = True
    trash = os.path.join(work, "trash")
    try:
        shutil.rmtree(trash, ignore_errors=True)
        for count in sizes:
            ok = bench(quillfen, count, work, env, args.compare_no_cache, trash) and ok
    finally:
        shutil.rmtree(trash, ignore_errors=True)
        if not args.keep and not args.work:
            shutil.rmtree(work, ignore_errors=True)
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
