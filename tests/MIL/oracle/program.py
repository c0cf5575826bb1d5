"""Writes program texts and weight files of either style, and packs what they hold."""
import struct

import numpy as np

CODES = {"fp16": 1, "fp32": 2, "uint8": 3, "int8": 4, "int16": 6, "uint16": 7, "int4": 8,
         "uint1": 9, "uint2": 10, "uint4": 11, "uint3": 12, "uint6": 13, "int32": 14, "uint32": 15}
BITS = {"int4": 4, "uint1": 1, "uint2": 2, "uint3": 3, "uint4": 4, "uint6": 6}
NUMPY = {"fp16": np.float16, "fp32": np.float32, "int8": np.int8, "uint8": np.uint8,
         "int16": np.int16, "uint16": np.uint16, "int32": np.int32, "uint32": np.uint32,
         "bool": np.bool_}
NAMES = {np.dtype(value): key for key, value in NUMPY.items()}


class Tensor:
    """Numbers with the element type a program gives them."""

    def __init__(self, values, element=None):
        self.values = np.asarray(values)
        self.element = element or NAMES[self.values.dtype]

    @property
    def shape(self):
        return self.values.shape


def packed(values, bits):
    """A stream of `bits`-wide numbers, lowest bits first, as bytes."""
    stream = 0
    flat = [int(v) & ((1 << bits) - 1) for v in np.ravel(values)]
    for place, value in enumerate(flat):
        stream |= value << (place * bits)
    size = (len(flat) * bits + 7) // 8
    return stream.to_bytes(size, "little")


def number(value, element):
    if element == "bool":
        return "true" if value else "false"
    if element in ("fp16", "fp32"):
        value = float(value)
        if np.isnan(value):
            return "nan"
        return ("-inf" if value < 0 else "inf") if np.isinf(value) else value.hex()
    return str(int(value))


class Program:
    """One function with statements, inputs and outputs."""

    def __init__(self, random, opset, verbose):
        self.random = random
        self.opset = opset
        self.verbose = verbose
        self.parameters = []
        self.inputs = {}
        self.lines = []
        self.outputs = []
        self.weights = bytearray(struct.pack("<II", 0, 2) + bytes(56))
        self.count = 0

    def fresh(self, stem):
        self.count += 1
        return f"{stem}_{self.count}"

    def type_of(self, element, shape, open_axes=()):
        if len(shape) == 0 and not self.verbose:
            return element
        extents = ", ".join("?" if i in open_axes else str(e) for i, e in enumerate(shape))
        return f"tensor<{element}, [{extents}]>"

    def text(self, value):
        return f'{self.type_of("string", ())}("{value}")'

    def literal(self, tensor):
        def level(values):
            if values.ndim == 0:
                return number(values[()], tensor.element)
            return "[" + ", ".join(level(v) for v in values) + "]"
        return f"{self.type_of(tensor.element, tensor.shape)}({level(tensor.values)})"

    def blob(self, tensor):
        """A record of the weight file, and the text that refers to it."""
        if tensor.element in BITS:
            payload = packed(tensor.values, BITS[tensor.element])
            padding = len(payload) * 8 - tensor.values.size * BITS[tensor.element]
        else:
            payload, padding = np.ascontiguousarray(tensor.values).tobytes(), 0
        offset = len(self.weights)
        self.weights += struct.pack("<IIQQQ", 0xDEADBEEF, CODES[tensor.element], len(payload),
                                    offset + 64, padding) + bytes(32) + payload
        self.weights += bytes(-len(self.weights) % 64)
        path = self.text("@model_path/weights/weight.bin")
        place = f'{self.type_of("uint64", ())}({offset})'
        kind = self.type_of(tensor.element, tensor.shape)
        return f"{kind}(BLOBFILE(path = {path}, offset = {place}))"

    def constant(self, value):
        """A value known at load: inline, or a name of a const, written out or in the file."""
        if isinstance(value, str):
            written, kind = self.text(value), self.type_of("string", ())
        else:
            tensor = value if isinstance(value, Tensor) else Tensor(value)
            kind = self.type_of(tensor.element, tensor.shape)
            in_file = (tensor.element in CODES and tensor.values.size > 0 and
                       self.random.random() < 0.5)
            written = self.blob(tensor) if in_file else self.literal(tensor)
        if self.random.random() < 0.5:
            return written
        name = self.fresh("const")
        remark = f'name = {self.text(name)}, ' if self.random.random() < 0.5 else ""
        self.lines.append(f"{kind} {name} = const()[{remark}val = {written}];")
        return name

    def parameter(self, tensor, open_axes=()):
        """An input of the program."""
        name = self.fresh("in")
        self.parameters.append(f"{self.type_of(tensor.element, tensor.shape, open_axes)} {name}")
        self.inputs[name] = tensor.values
        return name

    def statement(self, operation, arguments, results, attributes=None):
        """`results` are pairs of a name and a type, or a name alone where there is none."""
        left = ", ".join(f"{kind} {name}" for name, kind in results)
        given = ", ".join(f"{key} = {arguments[key]}" for key in sorted(arguments))
        inside = ", ".join(f"{key} = {value}" for key, value in sorted((attributes or {}).items()))
        self.lines.append((left + " = " if left else "") + f"{operation}({given})" +
                          (f"[{inside}]" if inside else "") + ";")

    def source(self):
        header = "program(1.0)" if self.verbose else "program(1.3)"
        body = "\n".join("            " + line for line in self.lines)
        return (f"{header}\n{{\n    func main<ios{self.opset}>({', '.join(self.parameters)}) {{\n"
                f"{body}\n        }} -> ({', '.join(self.outputs)});\n}}\n")
