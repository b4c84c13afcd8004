"""The files of the test-data tree: manifests, size limit, writing and checking."""

import hashlib
import os
from collections.abc import Iterator
from pathlib import Path

from . import SEED, VERSION

LIMIT = 2_000_000  # bytes that the whole tree may take
MANIFEST = "MANIFEST"
LICENCE = "LICENCE.md"  # beside files that are not our own work
REFERENCES = "lumTestRef"  # data of profiling scripts
GENERATED = f"{REFERENCES}/generated"  # those of full size, not part of the tree


class Tree:
    """Files by their path below the test-data directory."""

    def __init__(self) -> None:
        self.files: dict[str, bytes] = {}

    def add(self, path: str, content: bytes) -> None:
        """Adds a file. Rows may share a file, but only with the same content."""
        if self.files.setdefault(path, content) != content:
            raise ValueError(f"{path} is made twice with different contents")

    def add_manifests(self) -> None:
        directories: dict[str, list[str]] = {}
        for path in sorted(self.files):
            directories.setdefault(os.path.dirname(path), []).append(path)
        for directory, paths in directories.items():
            self.add(os.path.join(directory, MANIFEST), self._manifest(directory, paths))

    def size(self) -> int:
        return sum(map(len, self.files.values()))

    def require_limit(self, limit: int = LIMIT) -> None:
        if self.size() > limit:
            raise ValueError(f"the tree would take {self.size()} bytes of at most {limit}")

    def write(self, output: Path, keep_existing: bool = False) -> int:
        """Writes the files that differ from what is there, and returns how many."""
        self.require_limit()
        count = 0
        for path, content in self.files.items():
            target = output / path
            if target.is_file() and (keep_existing or target.read_bytes() == content):
                continue
            write_file(target, content)
            count += 1
        return count

    def differences(self, directory: Path) -> Iterator[str]:
        """How a directory departs from the tree, one line for each file."""
        present = set(_files_below(directory))
        for path in sorted(present | self.files.keys()):
            if path not in present:
                yield f"missing: {path}"
            elif path not in self.files:
                yield f"unexpected: {path}"
            elif (directory / path).read_bytes() != self.files[path]:
                yield f"different: {path}"

    def _manifest(self, directory: str, paths: list[str]) -> bytes:
        record = os.path.join(directory, LICENCE)
        lines = [
            "# Made by tools/lumen-testdata; SHA-256, size in bytes and name of each file.",
            f"# generator version {VERSION}, seed {SEED}",
            f"# licence: {'CC0-1.0, see ' + LICENCE if record in paths else 'own work, CC0-1.0'}",
        ]
        for path in paths:
            content = self.files[path]
            digest = hashlib.sha256(content).hexdigest()
            lines.append(f"{digest} {len(content)} {os.path.basename(path)}")
        return "".join(line + "\n" for line in lines).encode("ascii")


def write_file(target: Path, *parts: bytes) -> None:
    """Writes a file whole or not at all."""
    target.parent.mkdir(parents=True, exist_ok=True)
    unfinished = target.with_name(target.name + ".part")
    try:
        with unfinished.open("wb") as file:
            for part in parts:
                file.write(part)
        unfinished.replace(target)
    finally:
        unfinished.unlink(missing_ok=True)


def _files_below(directory: Path) -> Iterator[str]:
    for path in directory.rglob("*"):
        relative = path.relative_to(directory).as_posix()
        if not path.is_dir() and not relative.startswith(GENERATED + "/"):
            yield relative
