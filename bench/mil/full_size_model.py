"""Builds a whole full-size model folder for benchmarks. Needs numpy.

python3 full_size_model.py FOLDER [fp16|lut6|int8]

The encoder is the full-size one of the fixtures, the preprocessor the 128-band one; prediction
network and joint are written here in the same style, with weights of the same kind. All weights
are pseudo-random. The joint's bias makes about four tokens for each second of audio. The folder
takes 1.3 GB with an encoder in half precision.
"""
import json
import os
import shutil
import struct
import sys
import tarfile
import tempfile

import numpy as np

FIXTURES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tests/fixtures/mil")
WIDTH, HIDDEN, TOKENS, BLANK = 1024, 640, 8198, 8192
TOKENS_PER_SECOND, FRAMES_PER_SECOND = 4, 12.5


def unpack(archive, prefix, target):
    """Unpacks the entries below `prefix` of a fixture archive into `target`."""
    with tempfile.TemporaryDirectory() as scratch:
        with tarfile.open(os.path.join(FIXTURES, archive)) as tar:
            members = [m for m in tar if m.name == prefix or m.name.startswith(prefix + "/")]
            tar.extractall(scratch, members)
        shutil.copytree(os.path.join(scratch, prefix), target, dirs_exist_ok=True)


def record(code, size, offset, padding=0):
    """The 64 bytes in front of a payload of `size` bytes."""
    fields = struct.pack("<IIQQQ", 0xDEADBEEF, code, size, offset + 64, padding)
    return fields.ljust(64, b"\0")


class Weights:
    """A weight file being written: records at multiples of 64 bytes."""

    def __init__(self):
        self.records, self.end = [], 64

    def add(self, values):
        data, offset = values.astype(np.float16).tobytes(), self.end
        self.records.append((offset, data))
        self.end = (offset + 64 + len(data) + 63) // 64 * 64
        return offset

    def write(self, folder):
        os.makedirs(os.path.join(folder, "weights"), exist_ok=True)
        with open(os.path.join(folder, "weights", "weight.bin"), "wb") as out:
            out.write(struct.pack("<II", len(self.records), 2).ljust(64, b"\0"))
            for offset, data in self.records:
                out.seek(offset)
                out.write(record(1, len(data), offset))
                out.write(data)
            out.truncate(self.end)


class Program:
    """The statements of one function in the verbose style."""

    def __init__(self, parameters):
        self.parameters, self.lines, self.weights = parameters, [], Weights()

    def const(self, kind, shape, name, text):
        t = f"tensor<{kind}, [{shape}]>"
        self.lines.append(f'{t} {name} = const()[name = tensor<string, []>("{name}"), '
                          f'val = {t}({text})];')
        return name

    def stored(self, name, values):
        shape = ", ".join(map(str, values.shape))
        return self.const("fp16", shape, name,
                          'BLOBFILE(path = tensor<string, []>("@model_path/weights/weight.bin"), '
                          f"offset = tensor<uint64, []>({self.weights.add(values)}))")

    def op(self, outputs, operation, **arguments):
        left = ", ".join(f"tensor<{t}> {n}" for t, n in outputs)
        right = ", ".join(f"{k} = {v}" for k, v in sorted(arguments.items()))
        name = f'[name = tensor<string, []>("{outputs[0][1]}")]'
        self.lines.append(f"{left} = {operation}({right}){name};")

    def cast(self, shape, name, source, kind):
        dtype = self.const("string", "", name + "_dtype", f'"{kind}"')
        self.op([(f"{kind}, [{shape}]", name)], "cast", dtype=dtype, x=source)

    def write(self, folder, outputs):
        os.makedirs(folder, exist_ok=True)
        body = "\n".join("            " + line for line in self.lines)
        with open(os.path.join(folder, "model.mil"), "w") as out:
            out.write(f"program(1.0)\n{{\n    func main<ios17>({self.parameters}) {{\n{body}\n"
                      f"        }} -> ({outputs});\n}}\n")
        self.weights.write(folder)


def uniform(rng, shape, scale):
    return rng.uniform(-scale, scale, shape)


def decoder(folder, rng):
    p = Program("tensor<int32, [1, 1]> targets, tensor<int32, [1]> target_length, "
                f"tensor<fp32, [2, 1, {HIDDEN}]> h_in, tensor<fp32, [2, 1, {HIDDEN}]> c_in")
    one = f"1, 1, {HIDDEN}"
    table = uniform(rng, (BLANK + 1, HIDDEN), 0.5)
    table[BLANK] = 0
    p.const("int32", "", "zero", "0")
    p.const("int32", "", "two", "2")
    p.const("bool", "", "sequence", "true")
    for name, text in (("forward", "forward"), ("sigmoid", "sigmoid"), ("tanh", "tanh")):
        p.const("string", "", name, f'"{text}"')
    p.const("int32", "3", "time_major", "[1, 0, 2]")
    p.const("int32", "3", "channels_first", "[1, 2, 0]")
    p.const("int32", "1", "first_axis", "[0]")
    p.op([(f"fp16, [{one}]", "embedded")], "gather", axis="zero", batch_dims="zero",
         indices="targets", x=p.stored("embedding", table))
    p.op([(f"fp16, [{one}]", "x_0")], "transpose", perm="time_major", x="embedded")
    for state in ("h", "c"):
        p.cast(f"2, 1, {HIDDEN}", f"{state}_half", f"{state}_in", "fp16")
        p.op([(f"fp16, [{one}]", f"{state}_0"), (f"fp16, [{one}]", f"{state}_1")], "split",
             axis="zero", num_splits="two", x=f"{state}_half")
    for layer in range(2):
        for state in ("h", "c"):
            p.op([(f"fp16, [1, {HIDDEN}]", f"{state}_flat_{layer}")], "squeeze", axes="first_axis",
                 x=f"{state}_{layer}")
        p.op([(f"fp16, [{one}]", f"x_{layer + 1}"), (f"fp16, [1, {HIDDEN}]", f"h_new_{layer}"),
              (f"fp16, [1, {HIDDEN}]", f"c_new_{layer}")], "lstm", activation="tanh",
             bias=p.stored(f"bias_{layer}", uniform(rng, 4 * HIDDEN, 0.04)),
             cell_activation="tanh", direction="forward", initial_c=f"c_flat_{layer}",
             initial_h=f"h_flat_{layer}", output_sequence="sequence",
             recurrent_activation="sigmoid",
             weight_hh=p.stored(f"hh_{layer}", uniform(rng, (4 * HIDDEN, HIDDEN), 0.04)),
             weight_ih=p.stored(f"ih_{layer}", uniform(rng, (4 * HIDDEN, HIDDEN), 0.04)),
             x=f"x_{layer}")
    for state in ("h", "c"):
        p.op([(f"fp16, [2, 1, {HIDDEN}]", f"{state}_stacked")], "stack", axis="zero",
             values=f"({state}_new_0, {state}_new_1)")
        p.cast(f"2, 1, {HIDDEN}", f"{state}_out", f"{state}_stacked", "fp32")
    p.op([(f"fp16, [1, {HIDDEN}, 1]", "turned")], "transpose", perm="channels_first", x="x_2")
    p.cast(f"1, {HIDDEN}, 1", "decoder", "turned", "fp32")
    p.write(folder, "h_out, c_out, decoder")


def blank_bias(encoded, enc, out, steps):
    """The bias that lets a token beat the blank on the wanted share of frames."""
    hidden = np.maximum(encoded.T @ enc.T + steps, 0)
    logits = hidden @ out.T
    lead = logits[:, :BLANK].max(axis=1) - logits[:, BLANK]
    return np.quantile(lead, 1 - TOKENS_PER_SECOND / FRAMES_PER_SECOND)


def joint(folder, rng, encoded):
    p = Program(f"tensor<fp32, [1, {WIDTH}, 1]> encoder_step, "
                f"tensor<fp32, [1, {HIDDEN}, 1]> decoder_step")
    enc = uniform(rng, (HIDDEN, WIDTH), 0.05)
    pred = uniform(rng, (HIDDEN, HIDDEN), 0.05)
    out = uniform(rng, (TOKENS, HIDDEN), 0.05)
    bias = np.zeros(TOKENS)
    bias[BLANK] = blank_bias(encoded, enc, out, uniform(rng, HIDDEN, 0.2))
    bias[BLANK + 2] = 20.0  # one frame further
    p.const("int32", "3", "turn", "[0, 2, 1]")
    p.const("int32", "", "last", "-1")
    p.const("bool", "", "keep", "false")
    p.const("string", "", "indices", '"int32"')
    p.const("int32", "3", "ones", "[1, 1, 1]")
    for side, width, weight in (("encoder", WIDTH, enc), ("decoder", HIDDEN, pred)):
        p.cast(f"1, {width}, 1", f"{side}_half", f"{side}_step", "fp16")
        p.op([(f"fp16, [1, 1, {width}]", f"{side}_row")], "transpose", perm="turn",
             x=f"{side}_half")
        p.op([(f"fp16, [1, 1, {HIDDEN}]", f"{side}_hidden")], "linear",
             bias=p.stored(f"{side}_bias", np.zeros(HIDDEN)),
             weight=p.stored(f"{side}_weight", weight), x=f"{side}_row")
    p.op([(f"fp16, [1, 1, {HIDDEN}]", "sum")], "add", x="encoder_hidden", y="decoder_hidden")
    p.op([(f"fp16, [1, 1, {HIDDEN}]", "hidden")], "relu", x="sum")
    p.op([(f"fp16, [1, 1, {TOKENS}]", "logits")], "linear", bias=p.stored("out_bias", bias),
         weight=p.stored("out_weight", out), x="hidden")
    for name, begin, end in (("token_id", 0, BLANK + 1), ("duration", BLANK + 1, TOKENS)):
        p.const("int32", "3", name + "_begin", f"[0, 0, {begin}]")
        p.const("int32", "3", name + "_end", f"[1, 1, {end}]")
        p.op([(f"fp16, [1, 1, {end - begin}]", name + "_logits")], "slice_by_index",
             begin=name + "_begin", end=name + "_end", x="logits")
        p.op([("int32, [1, 1]", name + "_best")], "reduce_argmax", axis="last", keep_dims="keep",
             output_dtype="indices", x=name + "_logits")
        p.op([("int32, [1, 1, 1]", name)], "reshape", shape="ones", x=name + "_best")
    p.write(folder, "token_id, duration")


def fill(folder):
    """Fills the encoder's weights by the rule that its table follows."""
    def mix(z):
        z = (z ^ (z >> np.uint64(30))) * np.uint64(0xBF58476D1CE4E5B9)
        z = (z ^ (z >> np.uint64(27))) * np.uint64(0x94D049BB133111EB)
        return z ^ (z >> np.uint64(31))

    types = {"fp16": (1, np.float16), "fp32": (2, np.float32), "uint8": (3, np.uint8),
             "int8": (4, np.uint8), "uint4": (11, np.uint8), "uint6": (13, np.uint8)}
    table = json.load(open(os.path.join(folder, "blobs.json")))
    os.makedirs(os.path.join(folder, "weights"), exist_ok=True)
    with open(os.path.join(folder, "weights", "weight.bin"), "wb") as out:
        out.write(struct.pack("<II", len(table), 2).ljust(64, b"\0"))
        for blob in table:
            code, kind = types[blob["type"]]
            out.seek(blob["offset"])
            out.write(record(code, blob["bytes"], blob["offset"], blob.get("padding_bits", 0)))
            count = blob["bytes"] // np.dtype(kind).itemsize
            for start in range(1, count + 1, 1 << 20):
                i = np.arange(start, min(count + 1, start + (1 << 20)), dtype=np.uint64)
                with np.errstate(over="ignore"):
                    z = mix(np.uint64(blob["offset"]) + i * np.uint64(0x9E3779B97F4A7C15))
                if blob.get("range"):
                    values = (i - np.uint64(1)).astype(kind)
                elif kind is np.uint8:
                    values = (z >> np.uint64(56)).astype(np.uint8)
                else:
                    unit = (z >> np.uint64(40)).astype(np.float64) / 8388608.0 - 1.0
                    values = (blob["bias"] + blob["scale"] * unit).astype(kind)
                out.write(values.tobytes())
        out.write(b"\0" * (-out.tell() % 64))


def main(folder, form="fp16"):
    rng = np.random.default_rng(1)
    encoder = os.path.join(folder, "Encoder.mlmodelc")
    unpack("full-size.tar.xz", f"full-size/encoder-{form}", encoder)
    fill(encoder)
    unpack("parts.tar.xz", "parts/preprocessor-masked/model.mlmodelc",
           os.path.join(folder, "Preprocessor.mlmodelc"))
    encoded = np.load(os.path.join(encoder, "output_encoder.npy"))[0].astype(np.float64)
    frames = json.load(open(os.path.join(encoder, "tolerance.json")))["valid_frames"]
    decoder(os.path.join(folder, "Decoder.mlmodelc"), rng)
    joint(os.path.join(folder, "JointDecisionv3.mlmodelc"), rng, encoded[:, :frames])
    pieces = {str(i): f"\u2581w{i}" for i in range(BLANK)}
    with open(os.path.join(folder, "parakeet_v3_vocab.json"), "w") as out:
        json.dump(pieces, out)


if __name__ == "__main__":
    main(*sys.argv[1:])
