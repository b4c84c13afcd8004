"""The shared library exports the functions that the public headers declare, and nothing else.

Arguments: the nm program, the shared library, the folder of the headers.
"""

import pathlib
import re
import subprocess
import sys

nm, library, headers = sys.argv[1:]

declared = set()
for header in pathlib.Path(headers).glob("*.h"):
    text = re.sub(r"//.*", "", header.read_text())
    declared.update(re.findall(r"^LUMEN_API\b[^;(]*?(\w+)\(", text, re.MULTILINE))

listing = subprocess.run([nm, "-D", "--defined-only", library], check=True, text=True,
                         stdout=subprocess.PIPE).stdout
exported = {(line.split()[-2], line.split()[-1]) for line in listing.splitlines()}
expected = {("T", name) for name in declared}

for kind, name in sorted(exported - expected):
    print(f"exported and not declared: {kind} {name}")
for kind, name in sorted(expected - exported):
    print(f"declared and not exported: {name}")
print(f"{len(declared)} functions declared, {len(exported)} symbols exported")
sys.exit(not declared or exported != expected)
