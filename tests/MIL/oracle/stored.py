"""Constants in stored forms: what they expand to, through every operation that reads them."""
import numpy as np

from operations import FLOATS, Case, back, i32, values, wide
from program import BITS, NUMPY, Tensor, packed

import operations

MAKERS = {}


class Form:
    """A constant that is the result of a stored form; `inner` are forms among its operands."""

    def __init__(self, operation, arguments, results, which=0, attributes=False):
        self.operation = operation
        self.arguments = arguments
        self.results = results  # Tensors
        self.which = which
        self.attributes = attributes
        self.names = None
        self.program = None  # the names belong to

    @property
    def shape(self):
        return self.results[self.which].shape

    def write(self, program):
        if self.program is not program:
            self.program = program
            given = {}
            for key, value in self.arguments.items():
                if isinstance(value, (Form, Result)):
                    given[key] = value.write(program)
                elif self.attributes:
                    tensor = value if isinstance(value, Tensor) else Tensor(value)
                    in_file = tensor.element in ("uint8", "int8", "fp16", "fp32")
                    given[key] = (program.blob(tensor) if in_file and tensor.values.size > 2
                                  else program.literal(tensor))
                else:
                    given[key] = program.constant(value)
            self.names = [program.fresh("stored") for _ in self.results]
            kinds = [(n, program.type_of(r.element, r.shape))
                     for n, r in zip(self.names, self.results)]
            program.statement(self.operation, {} if self.attributes else given, kinds,
                              given if self.attributes else {})
        return self.names[self.which]


class Result:
    """One of a form's several results."""

    def __init__(self, form, which):
        self.form, self.which = form, which

    def write(self, program):
        self.form.write(program)
        return self.form.names[self.which]


def random_bits(element, extents):
    bits = BITS.get(element) or 8
    low, high = (-(1 << bits - 1), 1 << bits - 1) if element.startswith("int") else (0, 1 << bits)
    return operations.numbers.integers(low, high, extents)


def grouped(rng, extents):
    """Numbers of groups along each axis, and for each element its group along each axis."""
    counts = [rng.choice([n for n in range(1, e + 1) if e % n == 0]) for e in extents]
    if rng.random() < 0.4:
        counts = [c if i == 0 else 1 for i, c in enumerate(counts)]
    elif rng.random() < 0.4:
        counts[-1] = extents[-1]
    places = np.indices(extents)
    return counts, tuple(p * c // e for p, c, e in zip(places, counts, extents))


def affine(rng, extents, opset):
    element = rng.choice(FLOATS)
    kind = rng.choice(("int8", "uint8"))
    data = random_bits(kind, extents).astype(NUMPY[kind])
    axis = rng.randrange(len(extents))
    many = rng.random() < 0.7
    view = tuple(e if many and i == axis else 1 for i, e in enumerate(extents))
    scale = (np.abs(values(element, view, 0.02)) + NUMPY[element](0.01)).astype(NUMPY[element])
    zero = random_bits(kind, view).astype(NUMPY[kind])
    zero = zero if rng.random() < 0.6 else wide(zero).astype(NUMPY[element])
    made = wide(scale) * (wide(data) - wide(zero))
    arguments = {"quantized_data": data, "axis": i32(axis - rng.choice((0, len(extents)))),
                 "scale": scale.reshape(-1) if many else scale.reshape(()),
                 "zero_point": zero.reshape(-1) if many else zero.reshape(())}
    return Form("constexpr_affine_dequantize", arguments, [back(made, element)],
                attributes=opset <= 17)


def old_palette(rng, extents, opset):
    element = rng.choice(FLOATS)
    bits = rng.choice((1, 2, 4, 6, 8))
    lut = values(element, (1 << bits,), 1)
    indices = operations.numbers.integers(0, 1 << bits, extents)
    stream = np.frombuffer(packed(indices, bits), np.uint8)
    return Form("constexpr_lut_to_dense",
                {"indices": stream, "lut": lut, "shape": np.asarray(extents, np.uint32)},
                [Tensor(lut[indices])], attributes=True)


def palette(rng, extents, opset):
    element = rng.choice(FLOATS)
    kind = rng.choice(("uint1", "uint2", "uint3", "uint4", "uint6", "uint8"))
    bits = BITS.get(kind, 8)
    vector = rng.choice((1, 1, 1, 2, 3))
    axis = rng.randrange(len(extents))
    if extents[axis] % vector:
        vector = 1
    short = tuple(e // vector if i == axis else e for i, e in enumerate(extents))
    counts, group = grouped(rng, short)
    lut = values(element, (*counts, 1 << bits, vector), 1)
    indices = operations.numbers.integers(0, 1 << bits, short)
    made = lut[(*group, indices)]  # [*short, vector]
    made = np.moveaxis(made, -1, axis + 1).reshape(extents)
    arguments = {"indices": Tensor(indices.astype(np.uint8), kind), "lut": lut}
    if vector > 1 or rng.random() < 0.3:
        arguments["vector_axis"] = i32(axis - rng.choice((0, len(extents))))
    return Form("constexpr_lut_to_dense", arguments, [Tensor(made)])


def blockwise(rng, extents, opset, inner=None):
    element = rng.choice(FLOATS)
    kind = rng.choice(("int4", "uint4", "int8", "uint8", element))
    counts, group = grouped(rng, extents)
    scale = (values(element, counts, 0.1) + NUMPY[element](0.2)).astype(NUMPY[element])
    if kind == element:
        data, tensor = (values(element, extents, 1),) * 2
    else:
        data = random_bits(kind, extents)
        tensor = Tensor(data.astype(np.int8 if kind.startswith("int") else np.uint8), kind)
    arguments = {"data": tensor, "scale": scale}
    made = wide(data)
    if rng.random() < 0.6 and kind != element:
        offset = random_bits(kind, counts)
        arguments["offset"] = Tensor(offset.astype(tensor.values.dtype), kind)
        made = made - wide(offset)[group]
    return Form("constexpr_blockwise_shift_scale", arguments,
                [back(wide(scale)[group] * made, element)])


def joint(rng, extents, opset):
    """A palette of integers whose result is scaled by blocks."""
    bits = rng.choice((2, 3, 4))
    kind = rng.choice(("int8", "uint8"))
    lut = random_bits(kind, (1,) * len(extents) + (1 << bits, 1)).astype(NUMPY[kind])
    indices = operations.numbers.integers(0, 1 << bits, extents)
    data = lut.reshape(-1)[indices]
    first = Form("constexpr_lut_to_dense",
                 {"indices": Tensor(indices.astype(np.uint8), f"uint{bits}"), "lut": lut},
                 [Tensor(data)])
    counts, group = grouped(rng, extents)
    scale = values("fp16", counts, 0.1)
    return Form("constexpr_blockwise_shift_scale", {"data": first, "scale": scale},
                [back(wide(scale)[group] * wide(data), "fp16")])


def sparse(rng, extents, opset):
    element = rng.choice(FLOATS)
    mask = operations.numbers.random(extents) < rng.choice((0, 0.1, 0.5, 1))
    data = values(element, (int(mask.sum()),), 1)
    made = np.zeros(extents, NUMPY[element])
    made[mask] = data
    if opset <= 17:
        stream = np.frombuffer(packed(mask, 1), np.uint8)
        arguments = {"nonzero_data": data, "mask": stream, "shape": np.asarray(extents, np.uint32)}
    else:
        arguments = {"nonzero_data": data, "mask": Tensor(mask.astype(np.uint8), "uint1")}
    return Form("constexpr_sparse_to_dense", arguments, [Tensor(made)], attributes=opset <= 17)


def sparse_palette(rng, extents, opset):
    element = rng.choice(FLOATS)
    bits = rng.choice((1, 2, 3, 4, 6, 8))
    vector, axis = rng.choice((1, 1, 2)), rng.randrange(len(extents))
    vector = 1 if extents[axis] % vector else vector
    short = tuple(e // vector if i == axis else e for i, e in enumerate(extents))
    mask = operations.numbers.random(short) < rng.choice((0.1, 0.5, 0.9))
    counts, group = grouped(rng, short)
    lut = values(element, (*counts, 1 << bits, vector), 1)
    indices = operations.numbers.integers(0, 1 << bits, int(mask.sum()))
    dense = np.zeros((*short, vector), NUMPY[element])
    dense[mask] = lut[(*(g[mask] for g in group), indices)]
    made = np.moveaxis(dense, -1, axis + 1).reshape(extents)
    long_mask = np.repeat(mask, vector, axis)
    arguments = {"indices_mask": Tensor(mask.astype(np.uint8), "uint1"), "lut": lut,
                 "indices_nonzero_data": Tensor(indices.astype(np.uint8), f"uint{bits}")}
    if vector > 1 or rng.random() < 0.5:
        arguments["vector_axis"] = i32(axis)
    first = Form("constexpr_lut_to_sparse", arguments,
                 [Tensor(long_mask.astype(np.uint8), "uint1"), Tensor(made[long_mask])])
    return Form("constexpr_sparse_to_dense",
                {"nonzero_data": Result(first, 1), "mask": Result(first, 0)}, [Tensor(made)])


def sparse_blockwise(rng, extents, opset):
    element = rng.choice(FLOATS)
    kind = rng.choice(("int4", "uint4", "int8"))
    mask = operations.numbers.random(extents) < rng.choice((0.1, 0.5, 0.9))
    counts, group = grouped(rng, extents)
    scale = (values(element, counts, 0.1) + NUMPY[element](0.2)).astype(NUMPY[element])
    data = random_bits(kind, int(mask.sum()))
    narrow = np.int8 if kind.startswith("int") else np.uint8
    arguments = {"data_mask": Tensor(mask.astype(np.uint8), "uint1"), "scale": scale,
                 "nonzero_data": Tensor(data.astype(narrow), kind)}
    shift = 0.0
    if rng.random() < 0.5:
        offset = random_bits(kind, counts)
        arguments["offset"] = Tensor(offset.astype(narrow), kind)
        shift = wide(offset)[group][mask]
    kept = back(wide(scale)[group][mask] * (wide(data) - shift), element)
    made = np.zeros(extents, NUMPY[element])
    made[mask] = kept.values
    first = Form("constexpr_sparse_blockwise_shift_scale", arguments,
                 [Tensor(mask.astype(np.uint8), "uint1"), kept])
    return Form("constexpr_sparse_to_dense",
                {"nonzero_data": Result(first, 1), "mask": Result(first, 0)}, [Tensor(made)])


def sparse_list(rng, extents, opset):
    """The nonzero values are a list in a dense stored form, whose blocks are those of the list."""
    mask = operations.numbers.random(extents) < rng.choice((0.1, 0.5, 0.9))
    mask.reshape(-1)[rng.randrange(mask.size)] = True
    inner = rng.choice((palette, blockwise, joint))(rng, (int(mask.sum()),), opset)
    kept = inner.results[0]
    made = np.zeros(extents, kept.values.dtype)
    made[mask] = kept.values
    marked = Tensor(mask.astype(np.uint8), "uint1")
    if rng.random() < 0.5:
        return Form("constexpr_sparse_to_dense", {"nonzero_data": inner, "mask": marked},
                    [Tensor(made)])
    counts, group = grouped(rng, extents)
    scale = (values(kept.element, counts, 0.1) + made.dtype.type(0.2)).astype(made.dtype)
    scaled = back(wide(scale)[group] * wide(made), kept.element)
    second = Form("constexpr_sparse_blockwise_shift_scale",
                  {"data_mask": marked, "nonzero_data": inner, "scale": scale},
                  [marked, Tensor(scaled.values[mask])])
    return Form("constexpr_sparse_to_dense",
                {"nonzero_data": Result(second, 1), "mask": Result(second, 0)}, [scaled])


def widened(rng, extents, opset):
    source = values("fp16", extents, 1)
    return Form("constexpr_cast", {"source_val": source, "output_dtype": "fp32"},
                [Tensor(source.astype(np.float32))])


FORMS = {"affine": (affine, (16, 17, 18)), "old_palette": (old_palette, (16, 17)),
         "palette": (palette, (18,)), "blockwise": (blockwise, (18,)), "joint": (joint, (18,)),
         "sparse": (sparse, (16, 17, 18)), "sparse_palette": (sparse_palette, (18,)),
         "sparse_blockwise": (sparse_blockwise, (18,)),
         "sparse_list": (sparse_list, (18,)), "widened": (widened, (18,))}


def through(name, form, opsets):
    """The form as weights of something, by turns."""
    def make(rng):
        opset = rng.choice(opsets)
        reader = rng.choice(("add", "add", "linear", "matmul", "matmul_left", "conv", "gather",
                             "lstm"))
        rows, inner = rng.choice((1, 3, 6, 40)), rng.choice((2, 5, 12, 530))
        extents = {"conv": (rows, rng.choice((1, 3)), rng.choice((1, 3))),
                   "add": (rng.choice((1, 6, 150)), 3, rng.choice((1, 7)))}
        extents = extents.get(reader, (rows, inner))
        if reader == "lstm":
            extents = (4 * rng.choice((1, 3)), inner)
        stored = form(rng, extents, opset)
        weights = stored.results[stored.which]
        element, w = weights.element, wide(weights.values)

        def case(operation, arguments, made, **more):
            return Case(operation, arguments, [back(made, element)], opset=opset, fixed=True,
                        remark=f"{name} {extents}", scale=1 + np.abs(w).sum() / w.shape[0],
                        **{"slack": 8, **more})
        if reader == "add":
            x = values(element, extents[1:], 1)
            return case("add", {"x": x, "y": stored}, wide(x) + w)
        if reader in ("linear", "matmul"):
            count = rng.choice((1, 3, 5, 19))
            x = values(element, (count, extents[1]), 1)
            made = wide(x) @ w.T
            if reader == "linear":
                return case("linear", {"x": x, "weight": stored}, made)
            return case("matmul", {"x": x, "y": stored, "transpose_y": np.bool_(True)}, made,
                        constants=("transpose_y",))
        if reader == "matmul_left":
            x = values(element, (extents[1], rng.choice((1, 4, 50))), 1)
            if rng.random() < 0.5:
                return case("matmul", {"x": stored, "y": x}, w @ wide(x))
            y = values(element, (rng.choice((1, 6)), extents[0]), 1)
            return case("matmul", {"x": y, "y": stored}, wide(y) @ w)
        if reader == "conv":
            x = values(element, (1, extents[1], rng.choice((5, 60))), 1)
            out = x.shape[2] - extents[2] + 1
            made = sum(np.einsum("oi,nil->nol", w[:, :, k], wide(x)[:, :, k:k + out])
                       for k in range(extents[2]))
            return case("conv", {"x": x, "weight": stored}, made)
        if reader == "gather":
            indices = operations.numbers.integers(0, extents[0], (2, 3)).astype(np.int32)
            return case("gather", {"x": stored, "indices": indices, "axis": i32(0)},
                        w[indices], constants=("axis",))
        return lstm_case(rng, stored, w, case)
    MAKERS["stored " + name] = make


def lstm_case(rng, stored, w, case):
    from movement import ACTIVATIONS, lstm_direction
    element, cells = stored.results[stored.which].element, w.shape[0] // 4
    x = values(element, (2, 1, w.shape[1]), 0.3)
    h, c = values(element, (1, cells), 1), values(element, (1, cells), 1)
    recurrent = values(element, (4 * cells, cells), 0.5)
    weights = {"weight_ih": w, "weight_hh": wide(recurrent), "bias": np.zeros(4 * cells),
               "peephole": np.zeros(3 * cells)}
    functions = [ACTIVATIONS[n] for n in ("sigmoid", "tanh", "tanh")]
    _, last, cell = lstm_direction(wide(x), wide(h), wide(c), weights,
                                   {"functions": functions, "clip": np.inf}, False)
    made = case("lstm", {"x": x, "initial_h": h, "initial_c": c, "weight_ih": stored,
                         "weight_hh": recurrent}, last[None], constants=("weight_hh",), slack=4)
    made.expected += [back(last, element), back(cell, element)]
    return made


for form_name, (form_function, form_opsets) in FORMS.items():
    through(form_name, form_function, form_opsets)
