#pragma once

#include "MIL/Error.h"
#include "MIL/Execution/FunctionRef.h"
#include "MIL/FlexibleShapes.h"
#include "MIL/LargeProducts.h"
#include "MIL/LinksOut.h"
#include "MIL/SumVectors.h"
#include "MIL/Tensor.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::mil {

/// A named tensor of a model's signature. Extents that may vary are `Extents::unknown`.
struct FeatureDescription {
    std::string name;
    TensorType type;
    /// Of an input whose program narrows what `type` leaves open: the shapes it accepts, one
    /// range or an enumeration. Empty where `type` alone decides. An enumeration may tie inputs
    /// to each other; `Model::predict` then refuses combinations that are not listed.
    std::vector<ShapeRange> accepted{};
    /// Of such an input: the shape the program was exported with, if it tells.
    std::optional<Shape> defaultShape{};

    /// Whether an input of this shape is accepted.
    bool accepts(const Shape& shape) const;
};

/// A tensor that the caller owns: row-major, little-endian, without gaps.
struct NamedInput {
    std::string_view name;
    TensorView tensor;
};

/// A result, which the caller owns.
struct NamedOutput {
    std::string name;
    TensorType type;
    std::vector<std::byte> bytes;
};

/// How much a prediction matters to whoever waits. Background predictions run on threads of
/// their own, whose priority the program may lower with `onBackgroundThreadStart`; the calling
/// thread takes part in either, at its own priority.
enum class Urgency : std::uint8_t { foreground, background };

/// Sets what each background worker thread of this process calls first, on itself: lowering its
/// own priority, for instance. Any thread; holds for threads started from now on, which is all
/// of them before the first background prediction on more than one thread. It must not throw.
void onBackgroundThreadStart(std::function<void()> hook);

/// Which input of a program holds frames, and which one says how many of them count.
struct LengthInput {
    std::string data;     // its frames lie along `axis`, zeros behind those that count
    std::size_t axis = 0; // of an extent that the program fixes
    std::string length;   // one integer: how many frames count
};

/// A compiled ML program, ready to predict on the CPU.
///
/// Loading maps the bundle's weight files and leaves them as they lie; beside them it allocates at
/// most 4 MiB + 256 x the text + 64 x the weight files, whatever they say (a real program takes
/// some 20 x its text). The bundle must not change while it is loaded.
/// Predicting allocates its buffers the first time and only the outputs after that, if they are
/// handed over; programs with varying shapes grow their buffers to the largest shapes seen.
///
/// All members may be called from any thread; predictions on one model take turns, so one that
/// matters waits for a background one until that ends or is stopped. All models share one set of
/// worker threads for each urgency, which sleep when nothing predicts.
class Model {
public:
    struct Options {
        /// Threads one prediction uses, the calling one included.
        std::size_t threads = 1;
        /// The function to run; empty for the bundle's default one.
        std::string function{};
        /// Weight files may be links that lead out of the folder.
        LinksOut linksOut = LinksOut::refused;
        /// Loading or predicting fails with Error rather than take more buffer memory.
        std::size_t largestBuffers = std::size_t{8} << 30;
        /// Compute with the plain kernels that the fast ones are checked against.
        bool referenceKernels = false;
        /// What products with few columns are summed in.
        SumVectors sumVectors = SumVectors::fitting;
        /// What the others with constant weights are computed in.
        LargeProducts largeProducts = LargeProducts::singlePrecision;
    };

    /// What a model is made of, for people.
    struct Statistics {
        std::map<std::string, std::size_t> operations;    // calls by kind, constants left out
        std::map<std::string, std::size_t> constantBytes; // stored bytes by element type
        std::size_t weightFileBytes = 0;
        std::size_t plannedBufferBytes = 0; // of shapes known at load
        std::size_t heldBytes = 0;          // buffers, states and scratch memory right now
    };

    struct KindTime {
        std::size_t calls = 0;
        std::chrono::nanoseconds time{0};
    };

    /// Loads the compiled folder `bundle`. Throws Error: what is wrong, with line and column
    /// where the program text is. Every size and offset is checked before it is used. No path in
    /// it leads out of the folder.
    static Model load(const std::filesystem::path& bundle, const Options& options);

    Model(Model&&) noexcept;
    Model& operator=(Model&&) noexcept;
    ~Model();

    const std::vector<FeatureDescription>& inputs() const;
    /// In the program's order; a value that it returns twice is one output.
    const std::vector<FeatureDescription>& outputs() const;
    const std::vector<FeatureDescription>& states() const;

    /// Reads the weight files in, so that the first prediction does not wait for a disk nor for the
    /// system to map them; gives up soon after `stop` became true. Beside predictions.
    void readWeights(const std::atomic<bool>& stop) const;

    /// Makes what the first prediction would have to make and later ones keep: threads, buffers,
    /// and what products in 8 bits know of constant weights. Gives up soon after `stop` became
    /// true. Predictions wait for a piece of it at most, some milliseconds.
    void prepare(const std::atomic<bool>& stop) const;

    /// Computes the outputs, in the order of `outputs()`. `inputs` holds every input once, in
    /// any order, with exactly the declared element type and shape (where the declaration leaves
    /// an extent open, any that is accepted). Throws Error for other inputs and for operands the
    /// program cannot take, Stopped soon after `*stop` became true. States keep what was written.
    std::vector<NamedOutput> predict(std::span<const NamedInput> inputs,
                                     const std::atomic<bool>* stop = nullptr,
                                     Urgency urgency = Urgency::foreground);

    /// Derives the program for fewer frames, too: for each of `lengths` that is shorter than the
    /// declared extent of `input.data`. Takes milliseconds, and once; later calls change nothing.
    /// Returns an empty text, else in one line why there is no shorter form; predictions then
    /// know the full length only. Throws Error when the program has no such inputs.
    ///
    /// Nothing is known of what the program is for: a shorter form is consistent and computes what
    /// the program says of shorter inputs, which is for the caller to compare with the full length.
    std::string shorten(const LengthInput& input, std::vector<std::int64_t> lengths);
    /// The lengths at which predictions can compute, ascending, without the full one.
    std::vector<std::int64_t> shorterLengths() const;

    /// As `predict`, but computes at one of `shorterLengths`: looks at as many frames only. Takes
    /// the same inputs and gives outputs of the same shapes, with zeros where the full length has
    /// more than this one. Throws Error for other lengths, and when more frames count.
    std::vector<NamedOutput> predictAt(std::int64_t length, std::span<const NamedInput> inputs,
                                       const std::atomic<bool>* stop = nullptr,
                                       Urgency urgency = Urgency::foreground);

    /// Sees the outputs, in the order of `outputs()`, where they lie; they do until it returns.
    /// It must not use the model.
    using Look = FunctionRef<void(std::span<const TensorView>)>;

    /// As `predict`, or as `predictAt` if `length` is not 0, but shows the outputs instead of
    /// handing them over. A program of fixed shapes so takes no memory from its second prediction
    /// at full length on.
    void predict(std::int64_t length, std::span<const NamedInput> inputs, Look look,
                 const std::atomic<bool>* stop = nullptr, Urgency urgency = Urgency::foreground);

    Statistics statistics() const;

    /// From now on, predictions add up the time they spend by kind of operation. A chain of
    /// element-wise operations is a kind, named after all of them.
    void collectTimes(bool collect);
    std::map<std::string, KindTime> times() const;

private:
    struct Implementation;
    explicit Model(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> implementation;
};

/// Names of the operations of a bundle that this engine does not know, each once, without
/// loading it. Throws Error when the text cannot be read or parsed.
std::vector<std::string> unknownOperations(const std::filesystem::path& bundle);

} // namespace vorlin::mil
