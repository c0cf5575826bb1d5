"""Makes seeds for the mil fuzz targets from the archive of operation fixtures.

python3 mil_seeds.py ops.tar.xz FOLDER
  FOLDER/text     program texts
  FOLDER/lengths  the same
  FOLDER/weights  weight files
  FOLDER/bundle   both in one file: length of the text (4 bytes, little-endian), text, weights
"""
import os
import struct
import sys
import tarfile

LARGEST = 40000  # bytes; small seeds mutate better


def main(archive, folder):
    bundles = {}
    with tarfile.open(archive) as tar:
        for member in tar:
            for ending in ("/model.mil", "/weights/weight.bin"):
                if member.isfile() and member.name.endswith(ending):
                    name = member.name[: -len(ending)].split("/")[1]
                    bundles.setdefault(name, {})[ending] = tar.extractfile(member).read()
    for part in ("text", "lengths", "weights", "bundle"):
        os.makedirs(os.path.join(folder, part), exist_ok=True)
    for name, files in bundles.items():
        text = files["/model.mil"]
        weights = files.get("/weights/weight.bin", b"")
        if len(text) + len(weights) > LARGEST:
            continue
        seeds = {"text": text, "lengths": text, "weights": weights,
                 "bundle": struct.pack("<I", len(text)) + text + weights}
        for part, content in seeds.items():
            if content:
                with open(os.path.join(folder, part, name), "wb") as out:
                    out.write(content)
    open(os.path.join(folder, "stamp"), "w").close()


if __name__ == "__main__":
    main(*sys.argv[1:])
