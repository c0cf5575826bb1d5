"""Cases that move elements, take and put them, and the LSTM."""
import numpy as np

from operations import FLOATS, MAKERS, WHOLE, Case, back, i32, maker, negative, numbers, shape
from operations import sigmoid, some_axes, values, wide
from program import NUMPY

ANY = (*FLOATS, "int32", "int16", "uint8", "bool")


def moved(rng, least=0, most=5, empty=True):
    return values(rng.choice(ANY), shape(rng, least, most, empty))


def result(array):
    return [back(array, {v: k for k, v in NUMPY.items()}[np.asarray(array).dtype.type])]


@maker("reshape")
def reshape(rng):
    opset = rng.choice((15, 16, 17, 18))
    x = moved(rng, 1, 4, False)
    kind = rng.choice(("plain", "minus", "zero"))
    target = [int(e) for e in (rng.sample(x.shape, x.ndim) if kind != "zero" else x.shape)]
    wanted = list(target)
    if kind == "minus":
        target[rng.randrange(len(target))] = -1
    if kind == "zero" and opset <= 16:
        target[rng.randrange(len(target))] = 0
    elif kind == "zero":  # matched from the right, one axis more in front
        target = [1] + target
        wanted = [1] + wanted
        target[rng.randrange(1, len(target))] = 0
        if rng.random() < 0.3:
            target[0] = 0
    return Case("reshape", {"x": x, "shape": i32(target)}, result(x.reshape(wanted)), opset=opset,
                remark=f"to {target}")


@maker("expand_dims")
def expand_dims(rng):
    x = moved(rng, 0, 3)
    count = rng.randint(1, 2)
    rank = x.ndim + count
    axes = rng.sample(range(rank), count)
    return Case("expand_dims", {"x": x, "axes": i32([negative(rng, a, rank) for a in axes])},
                result(np.expand_dims(x, tuple(axes))), constants=("axes",))


@maker("squeeze")
def squeeze(rng):
    x = moved(rng, 1, 5, False)
    arguments = {"x": x}
    axes = [a for a in some_axes(rng, x.ndim, arguments) if x.shape[a] == 1]
    return Case("squeeze", arguments, result(np.squeeze(x, tuple(axes))), constants=("axes",))


@maker("transpose")
def transpose(rng):
    x = moved(rng, 1)
    perm = rng.sample(range(x.ndim), x.ndim)
    return Case("transpose", {"x": x, "perm": i32([negative(rng, p, x.ndim) for p in perm])},
                result(np.transpose(x, perm)), constants=("perm",))


@maker("concat")
def concat(rng):
    element = rng.choice(ANY)
    count = rng.randint(1, 4)
    if rng.random() < 0.15:  # scalars make a vector
        parts = tuple(values(element, ()) for _ in range(count))
        return Case("concat", {"values": parts, "axis": i32(0)}, result(np.stack(parts)))
    first = shape(rng, 1, 4)
    axis = rng.randrange(len(first))
    interleave = rng.random() < 0.3
    parts = []
    for _ in range(count):
        extents = list(first)
        extents[axis] = first[axis] if interleave else rng.choice((0, 1, 2, 5))
        parts.append(values(element, tuple(extents)))
    joined = np.concatenate(parts, axis)
    if interleave:
        joined = np.stack(parts, axis + 1).reshape(joined.shape)
    arguments = {"values": tuple(parts), "axis": i32(negative(rng, axis, len(first)))}
    if interleave or rng.random() < 0.3:
        arguments["interleave"] = np.bool_(interleave)
    return Case("concat", arguments, result(joined), constants=("axis", "interleave"))


@maker("split")
def split(rng):
    x = moved(rng, 1, 4, False)
    axis = rng.randrange(x.ndim)
    extent = x.shape[axis]
    sizes = [extent // 2, extent - extent // 2]
    arguments = {"x": x, "axis": i32(negative(rng, axis, x.ndim)), "split_sizes": i32(sizes)}
    if rng.random() < 0.5:
        parts = rng.choice([n for n in range(1, extent + 1) if extent % n == 0])
        sizes = [extent // parts] * parts
        arguments["num_splits"] = i32(parts)
        del arguments["split_sizes"]
    elif rng.random() < 0.3:
        arguments["num_splits"] = i32(2)
    pieces = np.split(x, np.cumsum(sizes)[:-1], axis)
    return Case("split", arguments, [result(p)[0] for p in pieces],
                constants=("axis", "split_sizes", "num_splits"))


@maker("stack")
def stack(rng):
    element, extents = rng.choice(ANY), shape(rng, 0, 4)
    parts = tuple(values(element, extents) for _ in range(rng.randint(1, 4)))
    axis = rng.randrange(len(extents) + 1)
    return Case("stack", {"values": parts, "axis": i32(negative(rng, axis, len(extents) + 1))},
                result(np.stack(parts, axis)), constants=("axis",))


@maker("tile")
def tile(rng):
    x = moved(rng, 1, 4)
    reps = [rng.choice((0, 1, 1, 1, 1, 2, 2, 3)) for _ in range(x.ndim)]
    return Case("tile", {"x": x, "reps": i32(reps)}, result(np.tile(x, reps)))


@maker("fill")
def fill(rng):
    extents = shape(rng, 1, 4)
    value = values(rng.choice((*FLOATS, "int32", "bool")), ())
    given = rng.random() < 0.8
    value = value if given else np.float32(0)
    arguments = {"shape": i32(extents), **({"value": value} if given else {})}
    return Case("fill", arguments, result(np.full(extents, value)), constants=("value",))


@maker("fill_like")
def fill_like(rng):
    x = moved(rng)
    value = values(rng.choice((*FLOATS, "int32")), ())
    return Case("fill_like", {"ref_tensor": x, "value": value}, result(np.full(x.shape, value)),
                constants=("value",), opset=16)


@maker("range_1d")
def range_1d(rng):
    element = rng.choice(("int32", "fp32", "fp16"))
    kind = NUMPY[element]
    choices = (1, 2, 3, -1, -2) if element == "int32" else (0.5, 2, -0.25, 0.1, 0.3)
    step = kind(rng.choice(choices))
    start, end = kind(rng.randint(-5, 5)), kind(rng.randint(-9, 9))
    if element != "int32" and rng.random() < 0.3:
        start, end = kind(0), step * kind(rng.randint(1, 60))  # the count is as exact as the type
    count = max(0, int(np.ceil((end - start) / step)))
    got = (wide(start) + wide(step) * np.arange(count)).astype(kind)
    return Case("range_1d", {"start": start, "end": end, "step": step}, result(got),
                open_result=True, slack=1)


@maker("shape")
def shape_of(rng):
    x = moved(rng, 1)
    return Case("shape", {"x": x}, result(i32(x.shape)))


@maker("one_hot")
def one_hot(rng):
    size = rng.randint(1, 6)
    indices = numbers.integers(0, size, shape(rng, 0, 3)).astype(np.int32)
    axis = rng.randrange(indices.ndim + 1)
    on, off = values("fp32", ()), values("fp32", ())
    made = np.where(np.arange(size) == indices[..., None], on, off)
    arguments = {"indices": indices, "one_hot_vector_size": i32(size),
                 "axis": i32(negative(rng, axis, indices.ndim + 1))}
    if rng.random() < 0.7:
        arguments |= {"on_value": on, "off_value": off}
    else:
        made = (np.arange(size) == indices[..., None]).astype(np.int32)
    return Case("one_hot", arguments, result(np.moveaxis(made, -1, axis)),
                constants=tuple(k for k in arguments if k != "indices"))


@maker("non_zero")
def non_zero(rng):
    x = moved(rng, 1, 4)
    return Case("non_zero", {"x": x}, result(i32(np.argwhere(x))), open_result=True)


def shown(rng, extent):
    """The places that an axis shows when it grows by a factor, and that factor."""
    if rng.random() < 0.5:  # made from the extents, with a little more than asked for
        length = rng.randint(1, 3 * extent + 1)
        whole = extent and length % extent == 0
        factor = length / extent if whole else (length + 1e-4) / max(extent, 1)
        length = length if extent else 0
        return np.arange(length) * extent // max(length, 1), np.float32(factor)
    factor = rng.choice((0.5, 1.5, 2.25, 0.75, 1.25))
    length = int(extent * factor)
    if length == 2 * extent or length == extent:
        return np.arange(length) // (length // max(extent, 1) or 1), np.float32(factor)
    return np.floor(np.arange(length) / factor).astype(int), np.float32(factor)


@maker("upsample_nearest_neighbor")
def upsample(rng):
    x = values(rng.choice(FLOATS), shape(rng, 3, 5))
    high, across = rng.randint(1, 3), rng.randint(1, 3)
    kind = rng.choice((np.int32, np.float32))
    if rng.random() < 0.5:
        places, factors = zip(*(shown(rng, extent) for extent in x.shape[-2:]))
        return Case("upsample_nearest_neighbor",
                    {"x": x, "scale_factor_height": factors[0], "scale_factor_width": factors[1]},
                    result(x[..., places[0][:, None], places[1]]),
                    constants=("scale_factor_height", "scale_factor_width"))
    return Case("upsample_nearest_neighbor",
                {"x": x, "scale_factor_height": kind(high), "scale_factor_width": kind(across)},
                result(x.repeat(high, -2).repeat(across, -1)),
                constants=("scale_factor_height", "scale_factor_width"))


@maker("pixel_shuffle")
def pixel_shuffle(rng):
    r, n, c, h, w = (rng.randint(1, 3) for _ in range(5))
    x = values(rng.choice(FLOATS), (n, c * r * r, h, w))
    made = x.reshape(n, c, r, r, h, w).transpose(0, 1, 4, 2, 5, 3).reshape(n, c, h * r, w * r)
    return Case("pixel_shuffle", {"x": x, "upscale_factor": i32(r)}, result(made),
                constants=("upscale_factor",))


@maker("flatten2d")
def flatten2d(rng):
    x = moved(rng, 1, 4, False)
    axis = rng.randint(0, x.ndim - 1)
    return Case("flatten2d", {"x": x, "axis": i32(negative(rng, axis, x.ndim))},
                result(x.reshape(int(np.prod(x.shape[:axis])), -1)), constants=("axis",))


@maker("reverse")
def reverse(rng):
    x = moved(rng, 1)
    arguments = {"x": x}
    axes = some_axes(rng, x.ndim, arguments)
    return Case("reverse", arguments, result(np.flip(x, axes)), constants=("axes",))


@maker("sliding_windows")
def sliding_windows(rng):
    x = moved(rng, 1, 4, False)
    axis = rng.randrange(x.ndim)
    size, stride = rng.randint(1, x.shape[axis]), rng.randint(1, 3)
    made = np.lib.stride_tricks.sliding_window_view(x, size, axis)
    made = np.moveaxis(made, -1, axis + 1)
    made = np.take(made, range(0, made.shape[axis], stride), axis)
    return Case("sliding_windows", {"x": x, "axis": i32(negative(rng, axis, x.ndim)),
                                    "size": i32(size), "stride": i32(stride)}, result(made),
                constants=("axis", "size", "stride"))


@maker("reshape_like")
def reshape_like(rng):
    x = moved(rng, 2, 4, False)
    cut = rng.randint(1, x.ndim - 1)
    other = values("fp32", (2, *x.shape[:cut]))
    second = values("int32", (*x.shape[cut:], 3))
    rest = x.ndim - cut
    return Case("reshape_like", {
        "x": x, "ref_tensors": (other, second), "begins": (i32(1), i32(0)),
        "ends": (i32(0), i32(negative(rng, rest, rest + 1))),
        "end_masks": (np.bool_(True), np.bool_(False))}, result(x), opset=16,
        constants=("begins", "ends", "end_masks"))


@maker("pad")
def pad(rng):
    mode = rng.choice(("constant", "reflect", "replicate", None))
    x = values(rng.choice((*FLOATS, "int32")), shape(rng, 1, 4, False))
    count = rng.randint(1, x.ndim)
    pairs = []
    for extent in x.shape[-count:]:
        most = extent - 1 if mode == "reflect" else 3
        pairs.append((rng.randint(0, most), rng.randint(0, most)))
    full = [(0, 0)] * (x.ndim - count) + pairs
    arguments = {"x": x, "pad": i32([p for pair in pairs for p in pair])}
    if mode:
        arguments["mode"] = mode
    if mode in (None, "constant"):
        value = values({v: k for k, v in NUMPY.items()}[x.dtype.type], ())
        arguments["constant_val"] = value
        made = np.pad(x, full, constant_values=value)
    else:
        made = np.pad(x, full, mode="reflect" if mode == "reflect" else "edge")
    return Case("pad", arguments, result(made), constants=("constant_val",))


def random_slice(rng, extents):
    """Arguments of a slice, and what selects the same from an array."""
    names = ("begin", "end", "stride", "begin_mask", "end_mask", "squeeze_mask")
    rows = {name: [] for name in names}
    taken = []
    for extent in extents:
        begin, end = rng.randint(-extent, extent), rng.randint(-extent - 1, extent + 2)
        stride = rng.choice((1, 1, 2, 3, -1, -2))
        masks = [rng.random() < 0.25 for _ in range(3)]
        masks[2] = masks[2] and extent > 0
        if masks[2]:
            begin = rng.randrange(-extent, extent)
            taken.append(0 if masks[0] else begin)
            end = 0
        else:
            # NumPy's slices wrap once and clamp; minus one below the start means to the front.
            start = None if masks[0] else begin
            stop = None if masks[1] else end
            if rng.random() < 0.1 and stop is not None and stride > 0:
                end = stop = 2147483647
            taken.append(slice(start, stop, stride))
        for name, value in zip(names, (begin, end, stride, *masks)):
            rows[name].append(value)
    arguments = {name: np.asarray(rows[name], bool if name.endswith("mask") else np.int32)
                 for name in names}
    for name in names[3:]:
        if not arguments[name].any() and rng.random() < 0.5:
            del arguments[name]
    return arguments, tuple(taken)


@maker("slice_by_index")
def slice_by_index(rng):
    x = moved(rng, 1, 5)
    arguments, taken = random_slice(rng, x.shape)
    return Case("slice_by_index", {"x": x, **arguments}, result(np.asarray(x[taken])),
                opset=rng.choice((15, 17, 18)), open_result=True,
                constants=("stride", "begin_mask", "end_mask", "squeeze_mask"))


@maker("slice_update")
def slice_update(rng):
    x = moved(rng, 1, 4)
    arguments, taken = random_slice(rng, x.shape)
    update = values({v: k for k, v in NUMPY.items()}[x.dtype.type], np.asarray(x[taken]).shape)
    made = x.copy()
    made[taken] = update
    return Case("slice_update", {"x": x, "update": update, **arguments}, result(made),
                constants=("stride", "begin_mask", "end_mask", "squeeze_mask"))


@maker("slice_by_size")
def slice_by_size(rng):
    x = moved(rng, 1, 4, False)
    begin = [rng.randrange(e) for e in x.shape]
    size = [rng.choice((-1, rng.randint(1, e - b))) for e, b in zip(x.shape, begin)]
    taken = tuple(slice(b, None if s == -1 else b + s) for b, s in zip(begin, size))
    signed = [negative(rng, b, e) for b, e in zip(begin, x.shape)]
    return Case("slice_by_size", {"x": x, "begin": i32(signed), "size": i32(size)},
                result(x[taken]), open_result=True)


def random_indices(rng, opset, extent, extents, kinds=("int32", "uint16", "int16", "int8")):
    kind = rng.choice(kinds if opset >= 17 else ("int32",))
    least = -extent if opset <= 16 else 0
    return numbers.integers(least, extent, extents).astype(NUMPY[kind])


@maker("gather")
def gather(rng):
    opset = rng.choice((15, 16, 17, 18))
    x = moved(rng, 1, 4, False)
    axis = rng.randrange(x.ndim)
    batch = rng.randint(0, axis) if opset >= 16 and rng.random() < 0.4 else 0
    indices = random_indices(rng, opset, x.shape[axis], x.shape[:batch] + shape(rng, 0, 2))
    validated = opset >= 17 and rng.random() < 0.5
    arguments = {"x": x, "indices": indices, "axis": i32(negative(rng, axis, x.ndim))}
    if opset >= 17 and not validated and indices.dtype != np.uint16 and indices.size:
        # Out of range, which takes the nearest there is: negative ones do not count from the end.
        arguments["indices"] = indices = indices.copy()
        indices.reshape(-1)[0] = rng.choice((-1, x.shape[axis]))
        wanted = np.clip(indices, 0, x.shape[axis] - 1)
    else:
        wanted = indices
    indices = wanted
    if batch:
        arguments["batch_dims"] = i32(batch)
        outer = [np.take(x[at], indices[at], axis - batch) for at in np.ndindex(x.shape[:batch])]
        made = np.stack(outer).reshape(x.shape[:batch] + outer[0].shape)
    else:
        made = np.take(x, indices, axis)
    if validated:
        arguments["validate_indices"] = np.bool_(True)
    return Case("gather", arguments, result(made), opset=opset,
                constants=("axis", "batch_dims", "validate_indices"))


@maker("gather_along_axis")
def gather_along_axis(rng):
    opset = rng.choice((15, 17))
    x = moved(rng, 1, 4, False)
    axis = rng.randrange(x.ndim)
    extents = list(x.shape)
    extents[axis] = rng.randint(0, 5)
    indices = random_indices(rng, opset, x.shape[axis], tuple(extents))
    return Case("gather_along_axis",
                {"x": x, "indices": indices, "axis": i32(negative(rng, axis, x.ndim))},
                result(np.take_along_axis(x, indices.astype(np.int64), axis)), opset=opset,
                constants=("axis",))


@maker("gather_nd")
def gather_nd(rng):
    x = moved(rng, 2, 4, False)
    batch = rng.randint(0, 1)
    depth = rng.randint(1, x.ndim - batch)
    lead = x.shape[:batch] + shape(rng, 1, 2)
    indices = np.stack([numbers.integers(0, e, lead) for e in x.shape[batch:batch + depth]],
                       -1).astype(np.int32)
    if batch:
        rows = [x[b][tuple(np.moveaxis(indices[b], -1, 0))] for b in range(x.shape[0])]
        made = np.stack(rows)
    else:
        made = x[tuple(np.moveaxis(indices, -1, 0))]
    return Case("gather_nd", {"x": x, "indices": indices, "batch_dims": i32(batch)}, result(made),
                opset=16, constants=("batch_dims",))


MODES = {"add": np.add, "sub": np.subtract, "mul": np.multiply, "max": np.maximum,
         "min": np.minimum, "div": np.divide, "update": lambda old, new: new}


def put(made, place, mode, value):
    made[place] = MODES[mode](made[place], value)


@maker("scatter")
def scatter(rng):
    data = values("fp32", shape(rng, 1, 3, False))
    axis = rng.randrange(data.ndim)
    count = rng.randint(1, data.shape[axis])
    indices = i32(rng.sample(range(data.shape[axis]), count))
    extents = list(data.shape)
    extents[axis] = count
    updates, mode = values("fp32", tuple(extents)), rng.choice(tuple(MODES))
    made = data.copy()
    for k, index in enumerate(indices):
        put(made, (slice(None),) * axis + (index,), mode, np.take(updates, k, axis))
    return Case("scatter", {"data": data, "indices": indices, "updates": updates,
                            "axis": i32(negative(rng, axis, data.ndim)), "mode": mode},
                result(made), opset=16, constants=("axis",))


@maker("scatter_along_axis")
def scatter_along_axis(rng):
    data = values("fp32", shape(rng, 1, 3, False))
    axis = rng.randrange(data.ndim)
    extents = list(data.shape)
    extents[axis] = rng.randint(1, 4)
    indices = numbers.integers(0, data.shape[axis], tuple(extents)).astype(np.int32)
    updates, mode = values("fp32", tuple(extents)), rng.choice(tuple(MODES))
    made = data.copy()
    for at in np.ndindex(*extents):
        put(made, at[:axis] + (indices[at],) + at[axis + 1:], mode, updates[at])
    return Case("scatter_along_axis", {"data": data, "indices": indices, "updates": updates,
                                       "axis": i32(negative(rng, axis, data.ndim)), "mode": mode},
                result(made), opset=17, constants=("axis",), scale=1)


@maker("scatter_nd")
def scatter_nd(rng):
    data = values("fp32", shape(rng, 1, 3, False))
    depth = rng.randint(1, data.ndim)
    lead = shape(rng, 1, 2)
    indices = np.stack([numbers.integers(0, e, lead) for e in data.shape[:depth]],
                       -1).astype(np.int32)
    updates, mode = values("fp32", lead + data.shape[depth:]), rng.choice(tuple(MODES))
    made = data.copy()
    for at in np.ndindex(*lead):
        put(made, tuple(indices[at]), mode, updates[at])
    return Case("scatter_nd", {"data": data, "indices": indices, "updates": updates, "mode": mode},
                result(made), opset=16, scale=1)


ACTIVATIONS = {"sigmoid": sigmoid, "tanh": np.tanh, "relu": lambda x: np.maximum(x, 0),
               "hard_sigmoid": lambda x: np.clip(0.2 * x + 0.5, 0, 1), "linear": lambda x: x}


def lstm_direction(x, h, c, weights, options, backwards):
    """One direction; returns the outputs in processing order and the last states."""
    cells = h.shape[1]
    gate, cell, out = options["functions"]
    outputs = []
    for t in range(x.shape[0])[::-1 if backwards else 1]:
        z = x[t] @ weights["weight_ih"].T + h @ weights["weight_hh"].T + weights["bias"]
        i, f, o, g = (z[:, n * cells:(n + 1) * cells] for n in range(4))
        p = weights["peephole"]
        i, f = gate(i + p[:cells] * c), gate(f + p[cells:2 * cells] * c)
        c = np.clip(f * c + i * cell(g), -options["clip"], options["clip"])
        h = gate(o + p[2 * cells:] * c) * out(c)
        outputs.append(h)
    return np.stack(outputs), h, c


@maker("lstm")
def lstm(rng):
    element = rng.choice(FLOATS)
    steps, batch, inputs, cells = (rng.choice((1, 2, 3, 9)) for _ in range(4))
    direction = rng.choice((None, "forward", "reverse", "bidirectional"))
    count = 2 if direction == "bidirectional" else 1
    arguments = {"x": values(element, (steps, batch, inputs), 1),
                 "initial_h": values(element, (batch, count * cells), 1),
                 "initial_c": values(element, (batch, count * cells), 1)}
    if direction:
        arguments["direction"] = direction
    names = ["sigmoid", "tanh", "tanh"]
    if rng.random() < 0.3:
        names = [rng.choice(("sigmoid", "hard_sigmoid")), rng.choice(("tanh", "linear")),
                 rng.choice(("tanh", "relu"))]
        written = [rng.choice((n, n.upper(), n.title())) for n in names]
        arguments |= dict(zip(("recurrent_activation", "cell_activation", "activation"), written))
    options = {"functions": [ACTIVATIONS[n] for n in names], "clip": np.inf}
    if rng.random() < 0.3:
        options["clip"] = 0.5
        arguments["clip"] = np.asarray(0.5, NUMPY[element])
    biased, peeps = rng.random() < 0.7, rng.random() < 0.3
    outputs, hidden, cell = [], [], []
    for d in range(count):
        suffix = "_back" if d else ""
        weights = {"weight_ih": values(element, (4 * cells, inputs), 0.5),
                   "weight_hh": values(element, (4 * cells, cells), 0.5)}
        if biased:
            weights["bias"] = values(element, (4 * cells,), 0.5)
        if peeps:
            weights["peephole"] = values(element, (3 * cells,), 0.5)
        arguments |= {key + suffix: value for key, value in weights.items()}
        full = {"bias": np.zeros(4 * cells), "peephole": np.zeros(3 * cells),
                **{k: wide(v) for k, v in weights.items()}}
        part = slice(d * cells, (d + 1) * cells)
        y, h, c = lstm_direction(wide(arguments["x"]), wide(arguments["initial_h"])[:, part],
                                 wide(arguments["initial_c"])[:, part], full, options,
                                 direction == "reverse" or d == 1)
        outputs.append(y[::-1] if d else y)
        hidden.append(h)
        cell.append(c)
    sequence = rng.random() < 0.5
    if sequence or rng.random() < 0.5:
        arguments["output_sequence"] = np.bool_(sequence)
    hidden, cell = np.concatenate(hidden, -1), np.concatenate(cell, -1)
    whole = np.concatenate(outputs, -1) if sequence else hidden[None]
    free = ("x", "initial_h", "initial_c")
    return Case("lstm", arguments, [back(v, element) for v in (whole, hidden, cell)], opset=17,
                constants=tuple(k for k in arguments if k not in free), scale=2, slack=4)


@maker("quantize")
def quantize(rng):
    return quantised(rng, "quantize")


@maker("dequantize")
def dequantize(rng):
    return quantised(rng, "dequantize")


def quantised(rng, name):
    element, kind = rng.choice(FLOATS), rng.choice(("int8", "uint8"))
    extents = shape(rng, 1, 4)
    axis = rng.randrange(len(extents))
    many = rng.random() < 0.5
    view = tuple(e if i == axis else 1 for i, e in enumerate(extents)) if many else ()
    scale = np.exp2(numbers.integers(-4, 1, view)).astype(NUMPY[element])
    zero = values(kind, view)
    shifted = rng.random() < 0.6
    offset = wide(zero) if shifted else 0.0
    info = np.iinfo(NUMPY[kind])
    arguments = {"scale": scale.reshape(-1) if many else scale}
    if shifted:
        arguments["zero_point"] = zero.reshape(-1) if many else zero
    if many:
        arguments["axis"] = i32(negative(rng, axis, len(extents)))
    constants = tuple(arguments)
    if name == "quantize":
        arguments["input"] = values(element, extents, 4)
        arguments["output_dtype"] = kind
        made = np.round(wide(arguments["input"]) / wide(scale)) + offset
        expected = [back(np.clip(made, info.min, info.max), kind)]
    else:
        arguments["input"] = values(kind, extents)
        expected = [back(wide(scale) * (wide(arguments["input"]) - offset), element)]
    return Case(name, arguments, expected, constants=constants, opset=17)


assert MAKERS and WHOLE
