"""One random case for each operation, with what NumPy says its results are."""
import dataclasses
import itertools
import math

import numpy as np

from program import NAMES, NUMPY, Tensor

numbers = np.random.default_rng(1)
MAKERS = {}
FLOATS = ("fp32", "fp16")
WHOLE = ("int32", "int16", "uint16", "int8", "uint8")


def seed(value):
    global numbers
    numbers = np.random.default_rng(value)


@dataclasses.dataclass
class Case:
    """One operation with its operands and what it should give."""
    operation: str
    arguments: dict
    expected: list
    constants: tuple = ()  # arguments that must be known at load
    attributes: dict = dataclasses.field(default_factory=dict)
    slack: float = 2       # units in the last place, of the larger of value and scale
    scale: float = 0
    opset: int = 18
    fixed: bool = False    # no extent may be left open
    inputs: tuple = ()     # arguments that must not be known at load
    open_result: bool = False
    remark: str = ""


def maker(name):
    def keep(function):
        MAKERS[name] = function
        return function
    return keep


def shape(rng, least=0, most=5, empty=True):
    """Extents from 0 on, 1 more often than others."""
    extents = []
    for _ in range(rng.randint(least, most)):
        extents.append(rng.choice((1, 1, 2, 3, 4, 5, 7)))
    if empty and extents and rng.random() < 0.08:
        extents[rng.randrange(len(extents))] = 0
    if rng.random() < 0.1 and extents:
        extents[-1] = rng.choice((31, 33, 70))
    return tuple(extents)


def values(element, extents, spread=2.0, special=False):
    if element == "bool":
        return numbers.random(extents) < 0.5
    if element in FLOATS:
        result = (numbers.standard_normal(extents) * spread).astype(NUMPY[element])
        if special and result.size > 4:
            flat = result.reshape(-1)
            for value in (np.nan, np.inf, -np.inf, 0.0):
                flat[numbers.integers(flat.size)] = value
        return result
    low, high = (0, 12) if element.startswith("u") else (-12, 12)
    return numbers.integers(low, high, extents).astype(NUMPY[element])


def wide(x):
    return np.asarray(x, np.float64)


def back(result, element):
    return Tensor(np.asarray(result).astype(NUMPY[element]))


def i32(value):
    return np.asarray(value, np.int32)


def negative(rng, axis, rank):
    return axis - rank if rng.random() < 0.5 else axis


def stretched(rng, extents):
    """A shape that stretches to the given one."""
    kept = extents[rng.randint(0, len(extents)):] if rng.random() < 0.5 else extents
    return tuple(1 if rng.random() < 0.4 else e for e in kept)


# Element-wise

def erf(x):
    return np.vectorize(math.erf, otypes=[float])(x)


def sigmoid(x):
    return 1 / (1 + np.exp(-x))


def softplus(x):
    return np.log1p(np.exp(-np.abs(x))) + np.maximum(x, 0)


UNARY = {
    "abs": np.abs, "sign": np.sign, "square": np.square, "exp": np.exp, "exp2": np.exp2,
    "sqrt": np.sqrt, "sin": np.sin, "cos": np.cos, "tan": np.tan, "sinh": np.sinh,
    "cosh": np.cosh, "tanh": np.tanh, "asin": np.arcsin, "acos": np.arccos, "atan": np.arctan,
    "atanh": np.arctanh, "erf": erf, "ceil": np.ceil, "floor": np.floor, "round": np.round,
    "relu": lambda x: np.maximum(x, 0), "relu6": lambda x: np.minimum(np.maximum(x, 0), 6),
    "sigmoid": sigmoid, "silu": lambda x: x * sigmoid(x), "softplus": softplus,
    "softsign": lambda x: x / (1 + np.abs(x)), "identity": lambda x: x,
}
WHOLE_UNARY = ("abs", "sign", "square", "relu", "relu6", "ceil", "floor", "round", "exp2",
               "identity")


def unary(name, function):
    def make(rng):
        element = rng.choice(FLOATS)
        if name in WHOLE_UNARY and rng.random() < 0.3:
            element = rng.choice(("int32", "int16", "int8"))
        x = values(element, shape(rng), 3 if rng.random() < 0.8 else 30, True)
        if name == "exp2" and element not in FLOATS:
            x = x % 7 - 2  # stays in range; negative powers are cut off
        exact = element in FLOATS or name == "exp2"
        result = function(wide(x) if exact else x)
        return Case(name, {"x": x}, [back(result, element)],
                    opset=rng.choice((15, 16, 17, 18)), slack=4)
    MAKERS[name] = make


for unary_name, unary_function in UNARY.items():
    unary(unary_name, unary_function)

# name: function, names of the constants and their defaults (None: must be given)
WITH_CONSTANTS = {
    "log": (lambda x, e: np.log(x + e), {"epsilon": 2.0 ** -149}),
    "rsqrt": (lambda x, e: 1 / np.sqrt(x + e), {"epsilon": 1e-12}),
    "inverse": (lambda x, e: 1 / (x + e), {"epsilon": 1e-4}),
    "clip": (lambda x, a, b: np.minimum(np.maximum(x, a), b), {"alpha": None, "beta": None}),
    "threshold": (np.maximum, {"alpha": None}),
    "leaky_relu": (lambda x, a: np.where(x >= 0, x, a * x), {"alpha": 0.01}),
    "elu": (lambda x, a: np.where(x > 0, x, a * np.expm1(x)), {"alpha": 1}),
    "linear_activation": (lambda x, a, b: a * x + b, {"alpha": None, "beta": 0}),
    "scaled_tanh": (lambda x, a, b: a * np.tanh(b * x), {"alpha": 1, "beta": 1}),
    "sigmoid_hard": (lambda x, a, b: np.minimum(np.maximum(a * x + b, 0), 1),
                     {"alpha": 0.2, "beta": 0.5}),
    "clamped_relu": (lambda x, a, b: np.minimum(b, np.where(x >= 0, x, a * x)),
                     {"alpha": None, "beta": None}),
    "thresholded_relu": (lambda x, a: np.where(x >= a, x, 0), {"alpha": 1}),
}


def with_constants(name, function, names):
    def make(rng):
        element = rng.choice(FLOATS)
        opset = rng.choice((15, 16, 17, 18))
        x = values(element, shape(rng), 3, name not in ("clamped_relu",))
        if name == "log" and x.size:
            x.reshape(-1)[0] = 0
        # From iOS 17 on, constants may have another floating type.
        other = rng.choice(FLOATS) if opset >= 17 else element
        arguments, used = {"x": x}, []
        for key, default in names.items():
            if default is None or rng.random() < 0.6:
                value = values(other, (), 1)
                if key == "epsilon":
                    value = np.asarray(0 if rng.random() < 0.3 else 0.01, NUMPY[other])
                if name == "clip":
                    value = np.asarray(-0.75 if key == "alpha" else 1.5, NUMPY[other])
                arguments[key] = value
                used.append(wide(value))
            else:  # a default is a number of x's type
                used.append(wide(NUMPY[element](default)))
        if name == "clip" and opset < 17 and rng.random() < 0.3:  # the upper bound wins
            arguments["alpha"], arguments["beta"] = arguments["beta"], arguments["alpha"]
            used.reverse()
        return Case(name, arguments, [back(function(wide(x), *used), element)], opset=opset,
                    constants=tuple(names), slack=4, scale=1)
    MAKERS[name] = make


for constant_name, (constant_function, constant_names) in WITH_CONSTANTS.items():
    with_constants(constant_name, constant_function, constant_names)


@maker("gelu")
def gelu(rng):
    element = rng.choice(FLOATS)
    x = values(element, shape(rng), 2)
    modes = {"EXACT": lambda v: 0.5 * v * (1 + erf(v / math.sqrt(2))),
             "TANH_APPROXIMATION": lambda v: 0.5 * v * (1 + np.tanh(
                 math.sqrt(2 / math.pi) * (v + 0.044715 * v ** 3))),
             "SIGMOID_APPROXIMATION": lambda v: v * sigmoid(1.702 * v)}
    mode = rng.choice((None, *modes))
    arguments = {"x": x} if mode is None else {"x": x, "mode": mode}
    return Case("gelu", arguments, [back(modes[mode or "EXACT"](wide(x)), element)], slack=4,
                scale=0.01)


def by_channel(name, function, count):
    def make(rng):
        element = rng.choice(FLOATS)
        extents = shape(rng, 3, 5)
        x = values(element, extents, 2)
        arguments = {"x": x}
        view = (1, -1) + (1,) * (len(extents) - 2)
        used = []
        for key in ("alpha", "beta")[:count]:
            arguments[key] = values(element, (extents[1],), 1)
            used.append(wide(arguments[key]).reshape(view))
        return Case(name, arguments, [back(function(wide(x), *used), element)],
                    constants=("alpha", "beta"), slack=4, scale=1)
    MAKERS[name] = make


by_channel("prelu", lambda x, a: np.where(x >= 0, x, a * x), 1)
by_channel("softplus_parametric", lambda x, a, b: a * softplus(b * x), 2)


def truncated_quotient(x, y):
    return np.trunc(wide(x) / wide(y))


BINARY = {
    "add": np.add, "sub": np.subtract, "mul": np.multiply, "real_div": np.divide,
    "floor_div": np.floor_divide, "mod": np.mod, "pow": np.power, "maximum": np.maximum,
    "minimum": np.minimum, "equal": np.equal, "not_equal": np.not_equal, "less": np.less,
    "less_equal": np.less_equal, "greater": np.greater, "greater_equal": np.greater_equal,
    "logical_and": np.logical_and, "logical_or": np.logical_or, "logical_xor": np.logical_xor,
}
COMPARES = ("equal", "not_equal", "less", "less_equal", "greater", "greater_equal")


def binary(name, function):
    def make(rng):
        logical = name.startswith("logical")
        element = "bool" if logical else rng.choice((*FLOATS, *FLOATS, "int32", "int32", "int16",
                                                     "uint16", "int8"))
        extents = shape(rng)
        shapes = [stretched(rng, extents), extents]
        rng.shuffle(shapes)
        special = name in COMPARES + ("add", "sub", "mul", "maximum", "minimum")
        x, y = (values(element, s, 3, special) for s in shapes)
        if name in ("real_div", "floor_div", "mod"):
            y = np.where(y == 0, 3, y).astype(y.dtype)
        if name == "pow":
            x, y = np.abs(x), np.abs(y) % 4 if element not in FLOATS else y
            x, y = x.astype(NUMPY[element]), y.astype(NUMPY[element])
        if element in FLOATS:
            result = function(wide(x), wide(y))
        elif name == "real_div":
            result = truncated_quotient(x, y)
        else:
            result = function(x, y)
        kind = "bool" if logical or name in COMPARES else element
        return Case(name, {"x": x, "y": y}, [back(result, kind)],
                    opset=rng.choice((15, 16, 17, 18)), slack=1 if name != "pow" else 4)
    MAKERS[name] = make


for binary_name, binary_function in BINARY.items():
    binary(binary_name, binary_function)


@maker("logical_not")
def logical_not(rng):
    x = values("bool", shape(rng))
    return Case("logical_not", {"x": x}, [back(~x, "bool")])


@maker("select")
def select(rng):
    element = rng.choice((*FLOATS, "int32", "uint16", "int8", "bool"))
    extents = shape(rng)
    cond = values("bool", stretched(rng, extents))
    a = values(element, stretched(rng, extents), special=True)
    b = values(element, extents, special=True)
    return Case("select", {"cond": cond, "a": a, "b": b}, [back(np.where(cond, a, b), element)])


@maker("cast")
def cast(rng):
    source = rng.choice((*FLOATS, "bool", *WHOLE))
    target = rng.choice((*FLOATS, "bool", "int32") if source in ("int16", "uint16") else
                        (*FLOATS, "bool", "int32", "int16", "int8"))
    x = values(source, shape(rng), 20)
    if source in FLOATS and target == "bool":
        x = np.where(np.abs(x) < 15, 0, x).astype(x.dtype)
    result = np.trunc(x) if source in FLOATS and target in WHOLE else x
    return Case("cast", {"x": x, "dtype": target}, [back(result, target)], opset=17)


# Linear algebra

@maker("linear")
def linear(rng):
    element = rng.choice((*FLOATS, *FLOATS, "int32"))
    x = values(element, shape(rng, 1, 3, False), 1)
    # The constants may be of another type, even an integer one; the result has that of x.
    other = rng.choice((*FLOATS, *FLOATS, "int32"))
    weight = values(other, (rng.choice((1, 3, 8, 65)), x.shape[-1]), 1)
    arguments = {"x": x, "weight": weight}
    bias = 0.0
    if rng.random() < 0.6:
        arguments["bias"] = values(rng.choice((element, other)), (weight.shape[0],), 1)
        bias = wide(arguments["bias"])
    result = wide(x) @ wide(weight).T + bias
    return Case("linear", arguments, [back(result, element)], constants=("weight", "bias"),
                opset=17, scale=6 + x.shape[-1] * (12 if "int32" in (element, other) else 1))


@maker("matmul")
def matmul(rng):
    element = rng.choice((*FLOATS, *FLOATS, "int32"))
    rank = rng.choice((1, 2, 2, 3, 4, 5))
    m, k, n = (rng.choice((1, 2, 5, 17, 40)) for _ in range(3))
    batch = shape(rng, max(rank - 2, 0), max(rank - 2, 0), False)
    x = values(element, stretched(rng, batch) + (m, k), 1)
    y = values(element, (batch if rank > 2 else ()) + (k, n), 1)
    if rng.random() < 0.15:
        x = values(element, (k,), 1)
    if rng.random() < 0.15:
        y = values(element, (k,), 1)
    result = back(np.matmul(wide(x), wide(y)), element)
    known = ()
    if rng.random() < 0.25:  # the constant side may be of another type
        alone = rng.choice("xy")
        other = values(rng.choice((*FLOATS, "int32")), (x if alone == "x" else y).shape, 1)
        x, y = (other, y) if alone == "x" else (x, other)
        result, known = back(np.matmul(wide(x), wide(y)), element), (alone,)
    arguments = {"x": x, "y": y}
    for key in ("x", "y"):
        flag = "transpose_" + key
        if arguments[key].ndim > 1 and rng.random() < 0.5:
            arguments[key] = np.ascontiguousarray(np.swapaxes(arguments[key], -1, -2))
            arguments[flag] = np.bool_(True)
        elif rng.random() < 0.5:
            arguments[flag] = np.bool_(False)
    return Case("matmul", arguments, [result], constants=("transpose_x", "transpose_y", *known),
                scale=6 + k * (1 if not known else 12), inputs=tuple({"x", "y"} - set(known)))


@maker("einsum")
def einsum(rng):
    element = rng.choice((*FLOATS, *FLOATS, "int32"))
    n, c, h, w, u = (rng.choice((1, 2, 3, 6)) for _ in range(5))
    if rng.random() < 0.5:
        a = values(element, (rng.choice((1, n)), c, rng.choice((1, h)), w), 1)
        b = values(element, (n, w, h, u), 1)
        full = np.einsum("nchw,nwhu->nchu", np.broadcast_to(wide(a), (n, c, h, w)), wide(b))
        letters = "nchw,nwhu->nchu"
    else:
        a, b = values(element, (c, h, w), 1), values(element, (w, h, u), 1)
        full = np.einsum("chw,whr->chr", wide(a), wide(b))
        letters = "abc,cbd->abd"
    return Case("einsum", {"values": (a, b), "equation": letters}, [back(full, element)], scale=6)


def window(rng, extent, kernel, stride, dilation, kind):
    reach = (kernel - 1) * dilation + 1
    if kind.startswith("same"):
        out = -(-extent // stride)
        total = max(0, (out - 1) * stride + reach - extent)
        before = total // 2 if kind == "same" else total - total // 2
        return before, total - before, out
    before, after = (rng.randint(0, 3), rng.randint(0, 3)) if kind == "custom" else (0, 0)
    after += max(0, reach - extent - before - after) if kind == "custom" else 0
    return before, after, (extent + before + after - reach) // stride + 1


def windows(rng, spatial, dilates=True):
    """Random window parameters and matching extents."""
    kind = rng.choice(("valid", "custom", "same", "same_lower", None))
    parameters = []
    for _ in range(spatial):
        kernel, stride = rng.choice((1, 2, 3, 5)), rng.choice((1, 2, 3))
        dilation = rng.choice((1, 1, 2)) if dilates else 1
        extent = rng.choice((1, 4, 9, 20)) if kind in ("custom", "same", "same_lower") else \
            (kernel - 1) * dilation + rng.choice((1, 2, 8))
        before, after, out = window(rng, extent, kernel, stride, dilation, kind or "valid")
        parameters.append((extent, kernel, stride, dilation, before, after, out))
    return kind, parameters


def window_arguments(rng, kind, parameters, dilates=True):
    arguments = {}
    if kind:
        arguments["pad_type"] = kind
    if kind == "custom":
        arguments["pad"] = i32([p for w in parameters for p in w[4:6]])
    elif rng.random() < 0.3:
        arguments["pad"] = i32([9] * (2 * len(parameters)))  # not to be read
    arguments["strides"] = i32([w[2] for w in parameters])
    if dilates:
        arguments["dilations"] = i32([w[3] for w in parameters])
    for key, position in (("strides", 2), ("dilations", 3)):
        if all(w[position] == 1 for w in parameters) and rng.random() < 0.5:
            arguments.pop(key, None)
    return arguments


@maker("conv")
def conv(rng):
    element = rng.choice(FLOATS)
    spatial = rng.choice((1, 1, 2, 2, 3))
    kind, parameters = windows(rng, spatial)
    groups = rng.choice((1, 1, 2, 3))
    per_in, per_out = rng.choice((1, 2, 3)), rng.choice((1, 2, 5))
    batch = rng.choice((1, 1, 2))
    x = values(element, (batch, groups * per_in, *(w[0] for w in parameters)), 1)
    weight = values(element, (groups * per_out, per_in, *(w[1] for w in parameters)), 1)
    padded = np.pad(wide(x), [(0, 0), (0, 0)] + [(w[4], w[5]) for w in parameters])
    outs = [w[6] for w in parameters]
    result = np.zeros((batch, groups * per_out, *outs))
    for tap in itertools.product(*(range(w[1]) for w in parameters)):
        cut = tuple(slice(t * w[3], t * w[3] + (o - 1) * w[2] + 1, w[2])
                    for t, w, o in zip(tap, parameters, outs))
        part = padded[(slice(None), slice(None), *cut)]
        for g in range(groups):
            rows = slice(g * per_out, (g + 1) * per_out)
            taken = part[:, g * per_in:(g + 1) * per_in]
            result[:, rows] += np.einsum("oi,ni...->no...",
                                         wide(weight)[(rows, slice(None), *tap)], taken)
    arguments = {"x": x, "weight": weight, **window_arguments(rng, kind, parameters)}
    if groups != 1 or rng.random() < 0.5:
        arguments["groups"] = i32(groups)
    if rng.random() < 0.5:
        arguments["bias"] = values(element, (groups * per_out,), 1)
        result += wide(arguments["bias"]).reshape((1, -1) + (1,) * spatial)
    return Case("conv", arguments, [back(result, element)],
                constants=tuple(k for k in arguments if k != "x"), opset=16,
                scale=6 + weight[0].size / 2)


@maker("conv_transpose")
def conv_transpose(rng):
    element = rng.choice(FLOATS)
    spatial = rng.choice((1, 2, 3))
    groups, per_in, per_out = rng.choice((1, 2)), rng.choice((1, 2)), rng.choice((1, 3))
    axes = [(rng.choice((1, 3, 5)), rng.choice((1, 2, 3)), rng.choice((1, 2, 3)),
             rng.choice((1, 2))) for _ in range(spatial)]
    x = values(element, (2, groups * per_in, *(a[0] for a in axes)), 1)
    weight = values(element, (groups * per_in, per_out, *(a[1] for a in axes)), 1)
    sizes = [(a[0] - 1) * a[2] + (a[1] - 1) * a[3] + 1 for a in axes]
    full = np.zeros((2, groups * per_out, *sizes))
    for tap in itertools.product(*(range(a[1]) for a in axes)):
        cut = tuple(slice(t * a[3], t * a[3] + (a[0] - 1) * a[2] + 1, a[2])
                    for t, a in zip(tap, axes))
        for g in range(groups):
            rows = slice(g * per_in, (g + 1) * per_in)
            full[(slice(None), slice(g * per_out, (g + 1) * per_out), *cut)] += np.einsum(
                "io,ni...->no...", wide(weight)[(rows, slice(None), *tap)], wide(x)[:, rows])
    arguments = {"x": x, "weight": weight, "strides": i32([a[2] for a in axes]),
                 "dilations": i32([a[3] for a in axes]), "groups": i32(groups)}
    kind = rng.choice(("valid", "custom", "same", "same_lower"))
    if kind.startswith("same"):
        arguments["pad_type"] = kind
        outs = [extent * stride for extent, _, stride, _ in axes]
        if rng.random() < 0.5:  # other shapes that a convolution brings back to x's
            outs = [out - rng.randrange(stride) for out, (_, _, stride, _) in zip(outs, axes)]
            arguments["output_shape"] = i32([2, groups * per_out, *outs])
        for i, (size, out, (_, _, stride, _)) in enumerate(zip(sizes, outs, axes)):
            total = max(0, size - out)
            before = total // 2 if kind == "same" else total - total // 2
            longer = np.pad(full, [(0, stride if j == i + 2 else 0) for j in range(full.ndim)])
            full = np.take(longer, range(before, before + out), i + 2)
    elif kind == "custom":
        crops = [(min(1, s - 1), 0) if s > 1 else (0, 0) for s in sizes]
        arguments |= {"pad_type": "custom", "pad": i32([c for pair in crops for c in pair])}
        full = full[(slice(None), slice(None), *(slice(b, s - a)
                                                 for (b, a), s in zip(crops, sizes)))]
    return Case("conv_transpose", arguments, [back(full, element)],
                constants=tuple(k for k in arguments if k != "x"), scale=6, opset=16)


def rounded_up(rng, parameters, kind):
    """A window axis whose last window may reach beyond the end, but not start there."""
    _, kernel, stride, dilation, *_ = parameters
    before = rng.randint(0, kernel // 2) if kind == "custom" else 0
    while True:
        extent = rng.choice((1, 2, 3, 8, 9))
        room = extent + 2 * before - kernel + stride - 1
        out = room // stride + 1
        out -= 1 if before > 0 and (out - 1) * stride >= extent + before else 0
        if room >= 0 and (out - 1) * stride < extent + before:
            return extent, kernel, stride, dilation, before, before, out


def pool(name, function, fill):
    def make(rng):
        element = rng.choice(FLOATS)
        spatial = rng.choice((1, 2, 3))
        kind, parameters = windows(rng, spatial, False)
        upward = kind in (None, "valid", "custom") and rng.random() < 0.4
        if upward:
            parameters = [rounded_up(rng, w, kind) for w in parameters]
        x = values(element, (rng.choice((1, 2)), 3, *(w[0] for w in parameters)), 1)
        outs = [w[6] for w in parameters]
        whole, ends = [(0, 0), (0, 0)], [(0, 0), (0, 0)]
        for extent, kernel, stride, _, before, after, out in parameters:
            beyond = max(0, (out - 1) * stride + kernel - extent - before - after)
            whole.append((before, after + beyond))
            ends.append((before, after))
        padded = np.pad(wide(x), whole, constant_values=fill)
        inside = np.pad(np.ones(x.shape), whole)
        counted = np.pad(np.ones(x.shape), ends, constant_values=1)
        exclude = name == "avg_pool" and rng.random() < 0.5
        result = np.zeros((*x.shape[:2], *outs))
        for place in itertools.product(*(range(o) for o in outs)):
            cut = tuple(slice(p * w[2], p * w[2] + w[1]) for p, w in zip(place, parameters))
            area = padded[(slice(None), slice(None), *cut)]
            count = inside[(slice(None), slice(None), *cut)]
            axes = tuple(range(2, 2 + spatial))
            total = (count if exclude else counted[(slice(None), slice(None), *cut)]).sum(axes)
            result[(slice(None), slice(None), *place)] = function(area, axes, total)
        arguments = {"x": x, "kernel_sizes": i32([w[1] for w in parameters]),
                     **window_arguments(rng, kind, parameters, False)}
        if upward or rng.random() < 0.3:
            arguments["ceil_mode"] = np.bool_(upward)
        if kind:  # in either case
            arguments["pad_type"] = rng.choice((kind, kind, kind.upper()))
        if name == "avg_pool" and (exclude or rng.random() < 0.5):
            arguments["exclude_padding_from_average"] = np.bool_(exclude)
        return Case(name, arguments, [back(result, element)],
                    constants=tuple(k for k in arguments if k != "x"), opset=16, scale=1)
    MAKERS[name] = make


pool("max_pool", lambda area, axes, count: area.max(axes), -np.inf)
pool("avg_pool", lambda area, axes, count: area.sum(axes) / count, 0.0)


@maker("scaled_dot_product_attention")
def attention(rng):
    element = rng.choice(FLOATS)
    batch = shape(rng, 1, 3, False)
    queries, keys, width, depth = (rng.choice((1, 3, 8, 70, 150)) for _ in range(4))
    q, k = values(element, batch + (queries, width), 1), values(element, batch + (keys, width), 1)
    v = values(element, batch + (keys, depth), 1)
    scores = wide(q) @ np.swapaxes(wide(k), -1, -2) / math.sqrt(width)
    arguments = {"query": q, "key": k, "value": v}
    kind = rng.choice((None, "bool", element))
    if kind:
        mask = values(kind, stretched(rng, batch) + (rng.choice((1, queries)), keys), 1)
        if kind == "bool":
            mask[..., 0] = True
        arguments["attn_mask"] = mask
        scores = np.where(mask, scores, -np.inf) if kind == "bool" else scores + wide(mask)
    weights = np.exp(scores - scores.max(-1, keepdims=True))
    weights /= weights.sum(-1, keepdims=True)
    return Case("scaled_dot_product_attention", arguments, [back(weights @ wide(v), element)],
                scale=4)


@maker("band_part")
def band_part(rng):
    element = rng.choice((*FLOATS, "int32"))
    x = values(element, shape(rng, 2, 4))
    arguments, bounds = {"x": x}, []
    for key in ("lower", "upper"):
        bound = rng.choice((-1, 0, 1, 2))
        if bound != -1 or rng.random() < 0.5:
            arguments[key] = i32(bound)
        bounds.append(bound)
    m, n = np.indices(x.shape[-2:])
    keep = ((bounds[0] < 0) | (m - n <= bounds[0])) & ((bounds[1] < 0) | (n - m <= bounds[1]))
    return Case("band_part", arguments, [back(np.where(keep, x, 0), element)],
                constants=("lower", "upper"))


# Normalisation and reduction

def epsilon_of(rng, arguments, element, default):
    if rng.random() < 0.5:
        return default
    arguments["epsilon"] = np.asarray(0.01, NUMPY[element])
    return float(arguments["epsilon"])


@maker("softmax")
def softmax(rng):
    element = rng.choice(FLOATS)
    x = values(element, shape(rng, 1), rng.choice((3, 100)))
    if x.size > 3 and rng.random() < 0.3 and x.shape[-1] > 1:
        x[..., 0] = -np.inf
    axis = rng.randrange(-x.ndim, x.ndim)
    arguments = {"x": x, "axis": i32(axis)}
    if axis in (-1, x.ndim - 1) and rng.random() < 0.5:
        del arguments["axis"]
    high = wide(x).max(axis, keepdims=True) if x.size else wide(x)
    e = np.exp(wide(x) - high) if x.size else wide(x)
    return Case("softmax", arguments, [back(e / e.sum(axis, keepdims=True) if x.size else e,
                                            element)], constants=("axis",), slack=64)


def some_axes(rng, rank, arguments, key="axes"):
    """Random axes, negative ones and all of them included; () stands for all."""
    if rank == 0 or rng.random() < 0.25:
        return tuple(range(rank))
    chosen = rng.sample(range(rank), rng.randint(1, rank))
    arguments[key] = i32([negative(rng, axis, rank) for axis in chosen])
    return tuple(chosen)


@maker("layer_norm")
def layer_norm(rng):
    element = rng.choice(FLOATS)
    x = values(element, shape(rng, 1, 4, False), 2) + np.asarray(rng.choice((0, 50)),
                                                                 NUMPY[element])
    arguments = {"x": x}
    axes = tuple(sorted(some_axes(rng, x.ndim, arguments)))
    epsilon = epsilon_of(rng, arguments, element, 1e-5)
    mean = wide(x).mean(axes, keepdims=True)
    spread = ((wide(x) - mean) ** 2).mean(axes, keepdims=True)
    result = (wide(x) - mean) / np.sqrt(spread + epsilon)
    inner = tuple(x.shape[a] for a in axes)
    view = tuple(e if a in axes else 1 for a, e in enumerate(x.shape))
    for key in ("gamma", "beta"):
        if rng.random() < 0.6:
            arguments[key] = values(element, inner, 1)
            other = wide(arguments[key]).reshape(view)
            result = result * other if key == "gamma" else result + other
    return Case("layer_norm", arguments, [back(result, element)], scale=60,
                constants=tuple(k for k in arguments if k != "x"))


def channel_norm(name):
    def make(rng):
        element = rng.choice(FLOATS)
        x = values(element, shape(rng, 3, 5, False), 2)
        view = (1, -1) + (1,) * (x.ndim - 2)
        arguments = {"x": x}
        epsilon = epsilon_of(rng, arguments, element, 1e-5)
        if name == "batch_norm":
            arguments["mean"] = values(element, (x.shape[1],), 1)
            arguments["variance"] = np.abs(values(element, (x.shape[1],), 1)) + NUMPY[element](0.1)
            mean = wide(arguments["mean"]).reshape(view)
            spread = wide(arguments["variance"]).reshape(view)
        else:
            axes = tuple(range(2, x.ndim))
            mean = wide(x).mean(axes, keepdims=True)
            spread = ((wide(x) - mean) ** 2).mean(axes, keepdims=True)
        result = (wide(x) - mean) / np.sqrt(spread + epsilon)
        for key in ("gamma", "beta"):
            if rng.random() < 0.6:
                arguments[key] = values(element, (x.shape[1],), 1)
                other = wide(arguments[key]).reshape(view)
                result = result * other if key == "gamma" else result + other
        return Case(name, arguments, [back(result, element)], scale=10,
                    constants=tuple(k for k in arguments if k != "x"))
    MAKERS[name] = make


channel_norm("batch_norm")
channel_norm("instance_norm")


@maker("l2_norm")
def l2_norm(rng):
    element = rng.choice(FLOATS)
    x = values(element, shape(rng, 3, 5), 1)
    arguments = {"x": x}
    epsilon = epsilon_of(rng, arguments, element, 1e-6)
    total = (wide(x) ** 2).sum((-3, -2, -1), keepdims=True)
    return Case("l2_norm", arguments, [back(wide(x) / np.sqrt(total + epsilon), element)],
                constants=("epsilon",))


REDUCTIONS = {
    "reduce_sum": np.sum, "reduce_mean": np.mean, "reduce_max": np.max, "reduce_min": np.min,
    "reduce_prod": np.prod, "reduce_sum_square": lambda x, axes, **k: np.sum(x * x, axes, **k),
    "reduce_l1_norm": lambda x, axes, **k: np.sum(np.abs(x), axes, **k),
    "reduce_l2_norm": lambda x, axes, **k: np.sqrt(np.sum(x * x, axes, **k)),
    "reduce_log_sum": lambda x, axes, **k: np.log(np.sum(x, axes, **k)),
    "reduce_log_sum_exp": lambda x, axes, **k: np.log(np.sum(np.exp(x), axes, **k)),
}


def reduction(name, function):
    def make(rng):
        element = "int32" if rng.random() < 0.3 else rng.choice(FLOATS)
        x = values(element, shape(rng, 0, 5, False), 1)
        if name == "reduce_log_sum":
            x = np.abs(x) + NUMPY[element](0.1 if element in FLOATS else 2)
        if name == "reduce_prod" and element == "int32":
            x = np.sign(x)  # stays in range
        arguments = {"x": x}
        axes = some_axes(rng, x.ndim, arguments)
        keep = rng.random() < 0.5
        if keep or rng.random() < 0.5:
            arguments["keep_dims"] = np.bool_(keep)
        result = function(wide(x), axes, keepdims=keep)
        if element == "int32":
            result = np.trunc(result)
        return Case(name, arguments, [back(result, element)], constants=("axes", "keep_dims"),
                    scale=4)
    MAKERS[name] = make


for reduction_name, reduction_function in REDUCTIONS.items():
    reduction(reduction_name, reduction_function)


def argument(name, function):
    def make(rng):
        element = rng.choice((*FLOATS, "int32"))
        x = values(element, shape(rng, 1, 5, False), 1)
        axis = rng.randrange(-x.ndim, x.ndim)
        keep = rng.random() < 0.5
        kind = rng.choice(("int32", "uint16"))
        arguments = {"x": x, "axis": i32(axis), "keep_dims": np.bool_(keep)}
        if kind != "int32" or rng.random() < 0.5:
            arguments["output_dtype"] = rng.choice((kind, kind.upper()))
        result = function(x, axis)
        return Case(name, arguments, [back(np.expand_dims(result, axis) if keep else result,
                                           kind)], constants=("axis", "keep_dims"), opset=17)
    MAKERS[name] = make


argument("reduce_argmax", np.argmax)
argument("reduce_argmin", np.argmin)


@maker("cumsum")
def cumsum(rng):
    element = rng.choice((*FLOATS, "int32"))
    x = values(element, shape(rng, 1), 1)
    axis = rng.randrange(-x.ndim, x.ndim)
    exclusive, reverse = rng.random() < 0.5, rng.random() < 0.5
    turned = np.flip(x, axis) if reverse else x
    result = np.cumsum(wide(turned), axis)
    result = result - wide(turned) if exclusive else result
    result = np.flip(result, axis) if reverse else result
    return Case("cumsum", {"x": x, "axis": i32(axis), "exclusive": np.bool_(exclusive),
                           "reverse": np.bool_(reverse)}, [back(result, element)],
                constants=("axis", "exclusive", "reverse"), scale=8)


@maker("topk")
def topk(rng):
    element = rng.choice((*FLOATS, "int32"))
    x = values(element, shape(rng, 1, 4, False), 2)
    axis = rng.randrange(-x.ndim, x.ndim)
    k = rng.choice((-1, 1, x.shape[axis]))
    ascending = rng.random() < 0.5
    order = np.argsort(x if ascending else -wide(x), axis, kind="stable")
    order = np.take(order, range(x.shape[axis] if k == -1 else k), axis)
    kind = rng.choice(("int32", "uint16"))
    arguments = {"x": x, "k": i32(k), "axis": i32(axis), "ascending": np.bool_(ascending)}
    if kind != "int32":
        arguments["output_indices_dtype"] = kind
    expected = [back(np.take_along_axis(x, order, axis), element), back(order, kind)]
    if rng.random() < 0.2:
        arguments["return_indices"] = np.bool_(False)
        expected.pop()
    return Case("topk", arguments, expected, constants=tuple(k for k in arguments if k != "x"),
                opset=17)


@maker("argsort")
def argsort(rng):
    element = rng.choice((*FLOATS, "int32"))
    x = values(element, shape(rng, 1, 4), 2)
    axis = rng.randrange(-x.ndim, x.ndim)
    ascending = rng.random() < 0.5
    order = np.argsort(x if ascending else -wide(x), axis, kind="stable")
    return Case("argsort", {"x": x, "axis": i32(axis), "ascending": np.bool_(ascending)},
                [back(order, "int32")], constants=("axis", "ascending"))


from movement import *  # noqa: E402,F401,F403  the makers of the other half
