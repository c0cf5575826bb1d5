#pragma once

#include "Async/Completion.h"
#include "Async/Stop.h"
#include "Ports/MultiArray.h"
#include "Ports/Workers.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// On what a model may run.
enum class ComputeUnits { cpuOnly, cpuAndGPU };

/// The extents that one axis of a feature takes, both ends included.
struct ExtentRange {
    std::int64_t least = 0;
    std::int64_t most = 0;

    bool operator==(const ExtentRange&) const = default;
};

/// What a model declares about one input or output.
struct MLFeature {
    std::string name;
    /// Nothing when it is no array, or of elements that `MultiArray` does not have.
    std::optional<MLElementType> elementType;
    /// The shapes it takes: any one of these, each axis within its range. An enumeration has
    /// several; a fixed shape has one, with least = most on every axis.
    std::vector<std::vector<ExtentRange>> shapes;
    /// The input may be left out.
    bool optional = false;
    /// The platform does not tell the shapes, of which there are none above: it may be any.
    bool anyShape = false;
};

struct MLSignature {
    std::vector<MLFeature> inputs;
    std::vector<MLFeature> outputs;
};

/// Arrays by feature name.
using MLFeatures = std::map<std::string, MultiArray>;

/// Which input of a model holds frames of which only some count, and which one says how many. A
/// platform that can compute fewer frames than the model declares does so where it is asked to;
/// others take no notice.
struct MLFrames {
    /// The input whose frames lie along `axis`, with zeros behind those that count.
    std::string data;
    std::int64_t axis = 0;
    /// The input, one integer, that says how many count.
    std::string length;
    /// How many frames it may be worth computing, ascending.
    std::vector<std::int64_t> lengths;

    bool operator==(const MLFrames&) const = default;
};

/// The failure of a prediction that was stopped.
class MLStopped : public std::runtime_error {
public:
    MLStopped() : std::runtime_error("The prediction was stopped.") {}
};

/// The failure of a prediction whose model is gone for good: the process that held it ended, or
/// its files were damaged under it. Loading it again may help.
class MLModelLost : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The failure of a prediction of fewer frames where the platform or the model does not know that
/// length, and never will.
class MLNoSuchLength : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A loaded model. One prediction at a time; any thread but the main one, which it would hold up.
class MLModel {
public:
    virtual ~MLModel() = default;

    virtual const MLSignature& signature() const = 0;

    /// Whether the model is known to be gone for good, so that it needs loading again.
    virtual bool isLost() const = 0;

    /// Computes the outputs from `inputs`, which hold every required input; may be done when it
    /// returns, having computed on the calling thread. `inputs` are not looked at after the end.
    /// Predictions of `background` priority yield the processor to all other work. Fails with
    /// `MLStopped` soon after `stop` is requested, `MLModelLost`, or another
    /// `std::runtime_error` when the inputs do not fit.
    virtual Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                           StopToken stop) = 0;

    /// As `predict`, but computes on the calling thread, into the arrays that `outputs` holds: one
    /// of the element type and the shape that an output needs is written over, whoever else holds
    /// it, and none may be missing or left over afterwards. Predicting the same again and again so
    /// takes no memory. Returns false, having done nothing, where the platform cannot. Fails as
    /// `predict` does; `outputs` may then hold anything.
    virtual bool predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority priority,
                             const StopToken& stop)
    {
        (void)outputs, (void)inputs, (void)priority, (void)stop;
        return false;
    }

    /// Whether `predictAt` may do anything at all on this platform.
    virtual bool computesFewerFrames() const { return false; }

    /// As `predict`, but computes only the first `frames` frames, one of the lengths that the
    /// load was told of: of the same inputs outputs of the same shapes, with zeros where there
    /// would have been more. What the model says of fewer frames need not be what it says of all,
    /// which is for the caller to compare. Fails with `MLNoSuchLength` where the platform or this
    /// model does not know that length, and with another `std::runtime_error` where more frames
    /// count.
    virtual Completion<MLFeatures> predictAt(std::int64_t frames, const MLFeatures& inputs,
                                             WorkPriority priority, StopToken stop)
    {
        (void)frames, (void)inputs, (void)priority, (void)stop;
        Completion<MLFeatures> none;
        none.completer().failWith<MLNoSuchLength>("The model computes at its full length only.");
        return none;
    }
};

/// How a model is loaded.
struct LoadOptions {
    ComputeUnits units = ComputeUnits::cpuOnly;
    /// A load of `background` priority yields the processor to all other work.
    WorkPriority priority = WorkPriority::normal;
    /// Called from any thread whenever the load has got on, however little.
    std::function<void()> onProgress = [] {};
    /// For `MLModel::predictAt`. Loading takes no longer for it.
    std::optional<MLFrames> frames{};
};

/// Loads compiled models.
class MLModels {
public:
    virtual ~MLModels() = default;

    /// Loads the compiled bundle at `bundle`, a folder. Several at once load side by side, and
    /// bundles of one folder share what they can. Returns at once; fails with a
    /// `std::runtime_error` that says what is wrong in one line, and may never end while a disk
    /// does not answer. The models must be gone before this object. Any thread.
    virtual Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                                      const LoadOptions& options) = 0;

    /// What tells that which computes the models from another version of it, which may compute
    /// otherwise; empty where that is not known. Any thread but the main one.
    virtual std::string engineIdentity() const { return {}; }
};

} // namespace vorlin
