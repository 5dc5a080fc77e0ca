"""Compares bytes on disk as turbo counts them with independent counts, on volumes made for the purpose.

    bench/images/disk_figures.py PROGRAM FOLDER [DELETIONS]

PROGRAM prints the figures of an image (the target figures_of_image); FOLDER is for the images. For each cluster size: the
account's used space against ntfsinfo, the bytes of each folder against a count over the records of the table
and against what the mounted volume says of its files, and the promises against the space that is
really free after deleting DELETIONS random folders, each on a fresh copy. Needs ntfs-3g and /dev/fuse.
"""
import mmap
import os
import random
import shutil
import struct
import subprocess
import sys
import time

LOST = "the lost folder"
ORPHANS = -1
CLUSTERS = [512, 1024, 2048, 4096, 16384, 65536, 262144, 2097152]


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, errors="replace")
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stderr or done.stdout}")
    return done.stdout


class Mounted:
    def __init__(self, image, folder, options="compression"):
        self.image, self.folder, self.options = image, folder, options

    def __enter__(self):
        os.makedirs(self.folder, exist_ok=True)
        before = os.stat(self.folder).st_dev
        self.daemon = subprocess.Popen(["ntfs-3g", "-o", f"no_detach,{self.options}", self.image, self.folder],
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while os.stat(self.folder).st_dev == before:
            if self.daemon.poll() is not None:
                raise RuntimeError(f"{self.image} cannot be mounted")
            time.sleep(0.01)
        return self.folder

    def __exit__(self, *_):
        # What was closed last may still be on its way to the daemon; the volume is busy until then.
        for _ in range(100):
            if subprocess.run(["fusermount", "-u", self.folder], capture_output=True).returncode == 0:
                break
            time.sleep(0.1)
        else:
            run("fusermount", "-u", self.folder)
        self.daemon.wait()


def put(path, size, hole_before=0, hole_after=0, seed=1):
    with open(path, "wb") as file:
        file.seek(hole_before)
        file.write(random.Random(seed).randbytes(size))
        file.truncate(hole_before + size + hole_after)


def attribute(path, name, value):
    run("setfattr", "-h", "-n", name, "-v", "0x" + value.hex() if isinstance(value, bytes) else value, path)


def reparse(path, tag, data=b"\x01\x00\x00\x00\x02\x00\x00\x00"):
    attribute(path, "system.ntfs_reparse_data", struct.pack("<IHH", tag, len(data), 0) + data)


def fill(root, chance, count):
    """All that makes counting hard, in folders at random depth."""
    folders = [root]
    for i in range(40):
        folders.append(os.path.join(chance.choice(folders), f"folder {i}"))
        os.mkdir(folders[-1])
    files = []
    for i in range(count):
        path = os.path.join(chance.choice(folders), f"file {i}")
        put(path, chance.choice([0, 50, 300, 700, 1500, 5000, 40_000, 70_000]), seed=i)
        files.append(path)
    for i in range(count // 3):  # within and across folders
        os.link(chance.choice(files), os.path.join(chance.choice(folders), f"link {i}"))
    names = os.path.join(root, "often")
    os.mkdir(names)
    put(os.path.join(names, "0"), 9000)
    for i in range(60):
        os.link(os.path.join(names, "0"), os.path.join(chance.choice(folders + [names]), f"name {i}"))
    for i, (before, after) in enumerate([(1 << 20, 0), (0, 1 << 20), (1 << 20, 1 << 20)]):
        put(os.path.join(chance.choice(folders), f"sparse {i}"), 10_000, before, after)
    middle = os.path.join(root, "sparse middle")
    put(middle, 10_000, 0, 1 << 20)
    with open(middle, "r+b") as file:
        file.seek(1 << 20)
        file.write(b"x" * 5000)
    packed = os.path.join(root, "packed")
    os.mkdir(packed)
    try:
        attribute(packed, "system.ntfs_attrib", "0x10080000")
    except RuntimeError:
        pass  # clusters too large for compression
    with open(os.path.join(packed, "soft"), "wb") as file:
        file.write(b"soft " * 60_000)
    streams = os.path.join(root, "streams")
    put(streams, 100)
    for i in range(3):
        attribute(streams, f"user.stream{i}", bytes([i]) * 30_000)
    cloud = os.path.join(root, "cloud")
    put(cloud, 0, 0, 500_000)
    reparse(cloud, 0x9000601A)
    system = os.path.join(root, "system compressed")
    put(system, 0, 0, 300_000)
    attribute(system, "user.WofCompressedData", bytes(range(256)) * 100)
    reparse(system, 0x80000017, struct.pack("<IIII", 1, 2, 1, 0))
    many = os.path.join(root, "many")
    os.mkdir(many)
    for i in range(5 * count):
        put(os.path.join(many, f"a rather long name, so that the table of the folder grows {i}"), i % 9)
    for i in range(0, 5 * count, 3):  # gaps in the table of the folder, and records that are free again
        os.unlink(os.path.join(many, f"a rather long name, so that the table of the folder grows {i}"))
    lost = os.path.join(root, LOST)
    os.mkdir(lost)
    for i, size in enumerate([30, 9000, 70_000]):
        put(os.path.join(lost, f"orphan {i}"), size)
    return folders


def lose(image):
    """Takes a folder's record out of use, as after a crash: its files are orphans."""
    with open(image, "r+b") as file, mmap.mmap(file.fileno(), 0) as data:
        at = -1
        while (at := data.find(b"FILE", at + 1)) >= 0:
            record = bytes(data[at:at + 1024])
            if at % 512 == 0 and record[22] & 1 and LOST.encode("utf-16le") in record:
                data[at + 22] &= 0xFE


def make(image, mounted, cluster, seed):
    size = max(64 << 20, cluster * 400)
    run("truncate", "-s", "0", image)
    run("truncate", "-s", str(size), image)
    run("mkntfs", "-F", "-Q", "-c", str(cluster), "-p", "0", "-H", "16", "-S", "63", image)
    with Mounted(image, mounted) as root:
        fill(root, random.Random(seed), 300 if cluster <= 65536 else 60)
    lose(image)


class Volume:
    """A second reading of the table, with nothing in common with the program's."""

    def __init__(self, image):
        with open(image, "rb") as file:
            self.data = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        u8, u16, u64 = self.data[13], struct.unpack_from("<H", self.data, 11)[0], self.u64(48)
        self.cluster = (1 << (256 - u8) if u8 > 128 else u8) * u16
        record_size = struct.unpack_from("<b", self.data, 64)[0]
        self.record = 1 << -record_size if record_size < 0 else record_size * self.cluster
        table = self.fixed(bytes(self.data[u64 * self.cluster:u64 * self.cluster + self.record]))
        runs = [run for kind, name, body, vcn in self.attributes(table) if kind == 0x80 and vcn == 0
                for run in self.runs(body)]
        raw = b"".join(bytes(self.data[at * self.cluster:(at + n) * self.cluster]) for at, n in runs if at is not None)
        self.records = {}
        for number in range(len(raw) // self.record):
            bytes_ = raw[number * self.record:(number + 1) * self.record]
            if bytes_[:4] == b"FILE" and bytes_[22] & 1:
                self.records[number] = self.fixed(bytes_)

    def u64(self, at):
        return struct.unpack_from("<Q", self.data, at)[0]

    @staticmethod
    def fixed(record):
        record = bytearray(record)
        at, count = struct.unpack_from("<HH", record, 4)
        for i in range(1, count):
            record[i * 512 - 2:i * 512] = record[at + 2 * i:at + 2 * i + 2]
        return bytes(record)

    @staticmethod
    def attributes(record):
        at = struct.unpack_from("<H", record, 20)[0]
        while True:
            kind, length = struct.unpack_from("<II", record, at)
            if kind == 0xFFFFFFFF:
                return
            body = record[at:at + length]
            name_at = struct.unpack_from("<H", body, 10)[0]
            name = body[name_at:name_at + 2 * body[9]].decode("utf-16le")
            yield kind, name, body, struct.unpack_from("<Q", body, 16)[0] if body[8] else None
            at += length

    @staticmethod
    def runs(body):
        at, cluster = struct.unpack_from("<H", body, 32)[0], 0
        while body[at]:
            lengths, offsets = body[at] & 15, body[at] >> 4
            count = int.from_bytes(body[at + 1:at + 1 + lengths], "little")
            if offsets:
                cluster += int.from_bytes(body[at + 1 + lengths:at + 1 + lengths + offsets], "little", signed=True)
            yield (cluster if offsets else None), count
            at += 1 + lengths + offsets

    def figures(self):
        """Per path of a folder: clusters on disk and clusters that come back."""
        clusters, names, folders = {}, {}, set()
        for number, record in self.records.items():
            base = struct.unpack_from("<Q", record, 32)[0] & 0xFFFFFFFFFFFF
            owner = base or number
            if number == owner and record[22] & 2:
                folders.add(number)
            for kind, _, body, vcn in self.attributes(record):
                if vcn is not None:
                    clusters[owner] = clusters.get(owner, 0) + sum(n for at, n in self.runs(body) if at is not None)
                elif kind == 0x30:
                    value = body[struct.unpack_from("<H", body, 20)[0]:]
                    if value[65] != 2:
                        parent = struct.unpack_from("<Q", value, 0)[0] & 0xFFFFFFFFFFFF
                        names.setdefault(owner, []).append((parent, value[66:66 + 2 * value[64]].decode("utf-16le")))

        for owner, places in names.items():
            names[owner] = [(parent if parent in folders else ORPHANS, name) for parent, name in places]
        folders.add(ORPHANS)
        names[ORPHANS] = [(5, "$Orphans")]

        def chain(folder):
            found = [folder]
            while folder != 5:
                folder = names[folder][0][0]
                found.append(folder)
            return found

        chains = {folder: chain(folder) for folder in folders}
        path = {f: "/" + "/".join(names[one][0][1] for one in reversed(chains[f][:-1])) for f in folders}
        disk, back = dict.fromkeys(folders, 0), dict.fromkeys(folders, 0)
        for owner, count in clusters.items():
            # A file counts at one of its names; which one is not this count's business, so files with several
            # are left to the caller.
            if owner in folders:
                places = [owner]
            else:
                places = [parent for parent, _ in names.get(owner, [(5, "")])]
            if len(set(places)) == 1:
                for folder in chains[places[0]]:
                    disk[folder] += count
            common = set(chains[places[0]]).intersection(*(chains[one] for one in places))
            for folder in common:
                if owner > 15 and not {11, ORPHANS} & set(chains[places[0]]):
                    back[folder] += count
        shared = {o: c for o, c in clusters.items() if o not in folders and len({p for p, _ in names.get(o, [])}) > 1}
        choices = {o: [[path[f] for f in chains[p]] for p, _ in names[o]] for o in shared}
        return ({path[f]: n for f, n in disk.items()}, {path[f]: n for f, n in back.items()}, shared, choices)


def read(program, image):
    account, rows, folders = None, {}, {}
    for line in run(program, image).splitlines():
        words = line.split(" ")
        if words[0] == "account":
            account = dict(zip(words[1::2], map(int, words[2::2])))
        elif words[0] == "row":
            rows[words[1]] = int(words[2])
        elif words[0] == "folder":
            folders["/" + " ".join(words[8:])[4:]] = tuple(map(int, words[1:8]))
    return account, rows, folders


def check(what, got, wanted):
    if got != wanted:
        raise AssertionError(f"{what}: {got} instead of {wanted}")


def compare(program, image):
    account, rows, folders = read(program, image)
    cluster = account["cluster"]
    info = run("ntfsinfo", "-m", "-f", image)
    size, free = (int(info.split(name)[1].split()[0]) for name in ("Volume Size in Clusters:", "Free Clusters:"))
    check("used", account["used"], (size - free) * cluster)
    check("unexplained", account["unexplained"], 0)
    check("damaged run lists", account["exact"], 1)
    disk, back, shared, choices = Volume(image).figures()
    check("folders", sorted(folders), sorted(disk))
    left = {path: figures[0] // cluster - disk[path] for path, figures in folders.items()}
    # What the files with names in several folders add: each at one of its places, the same for all folders.
    check("shared files", left["/"], sum(shared.values()))
    for path, more in left.items():
        most = sum(n for o, n in shared.items() if any(path in way for way in choices[o]))
        least = sum(n for o, n in shared.items() if all(path in way for way in choices[o]))
        if not least <= more <= most:
            raise AssertionError(f"{path}: {more} clusters of shared files, not {least} to {most}")
    check("comes back", {path: figures[1] // cluster for path, figures in folders.items()}, back)
    return account, rows, folders


def sizes_of_files(mounted, folders):
    """The mounted volume's own idea of the blocks of files whose folder holds all of their names."""
    for path, figures in folders.items():
        seen, blocks, whole = set(), 0, True
        place = mounted + path
        if "/$" in path or figures[5] != 0 or path == "/":
            continue
        for entry in os.scandir(place):
            facts = entry.stat(follow_symlinks=False)
            if entry.is_dir(follow_symlinks=False) or facts.st_ino in seen:
                continue
            whole = whole and facts.st_nlink == 1
            seen.add(facts.st_ino)
            blocks += facts.st_blocks * 512 if facts.st_blocks * 512 >= figures_cluster else 0
        if whole:
            check(f"files in {path}", figures[4], blocks)
            yield path


def delete(image, copy, mounted, folders, count, cluster, chance):
    wanted = [path for path in folders if path != "/" and "/$" not in path]
    differences, exact = [], 0
    for path in (chance.choice(wanted) for _ in range(count)):
        shutil.copyfile(image, copy)
        with Mounted(copy, mounted) as root:
            before = os.statvfs(root).f_bfree
            shutil.rmtree(root + path)
        with Mounted(copy, mounted) as root:
            after = os.statvfs(root).f_bfree
        difference = (after - before) - folders[path][1] // cluster
        exact += difference == 0
        if difference:
            differences.append((difference, path))
    return exact, differences


def main():
    program, folder = sys.argv[1], sys.argv[2]
    deletions = int(sys.argv[3]) if len(sys.argv) > 3 else 0
    image, mounted = f"{folder}/figures.img", f"{folder}/mounted"
    global figures_cluster
    for number, cluster in enumerate(CLUSTERS):
        figures_cluster = cluster
        make(image, mounted, cluster, number)
        account, rows, folders = compare(program, image)
        with Mounted(image, mounted, "ro") as root:
            # With small clusters, the blocks of contents in the record look like clusters.
            counted = len(list(sizes_of_files(root, folders))) if cluster >= 2048 else 0
        print(f"{cluster}: {account['used'] // cluster} clusters used = {sum(v for k, v in rows.items() if k in ('files', 'streams', 'tables', 'system')) // cluster}"
              f" found, {len(folders)} folders equal, {counted} of them also by stat, {account['links']} files with several names", flush=True)
        if cluster == 4096 and deletions:
            exact, differences = delete(image, f"{folder}/copy.img", mounted, folders, deletions, cluster, random.Random(7))
            print(f"deletions: {exact} of {deletions} exactly as promised, others (clusters more than promised): {differences}", flush=True)


main()
