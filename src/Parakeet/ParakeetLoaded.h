#pragma once

#include "Async/Task.h"
#include "Parakeet/ShorterLengths.h"
#include "Ports/Folders.h"
#include "Ports/MLModel.h"
#include "Ports/Workers.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// The models of one folder, ready to run.
struct ParakeetLoaded {
    /// The folder they came from.
    std::filesystem::path directory;
    std::unique_ptr<MLModel> preprocessor;
    std::unique_ptr<MLModel> encoder;
    std::unique_ptr<MLModel> decoder;
    std::unique_ptr<MLModel> joint;
    /// Token text by token id; a word's first piece begins with U+2581.
    std::vector<std::string> vocabulary;
    /// At which lengths less than 15 s may be computed; none to begin with.
    ShorterLengths lengths;

    /// One of the models is gone for good.
    bool isLost() const;
};

/// From where a speech model is loaded, and how.
struct ParakeetSource {
    MLModels& models;
    std::shared_ptr<Folders> folders;
    Workers& workers;
    /// Where the load goes on.
    Executor& executor;
    std::filesystem::path directory;
    WorkPriority priority = WorkPriority::normal;
    /// Called from any thread whenever the load has got on.
    std::function<void()> onProgress;
    /// Held until nothing of the load is under way any more, which may be long after it failed.
    std::shared_ptr<const void> held;
};

/// Loads the four models side by side, and the vocabulary meanwhile. Fails with the error of what
/// fails first, or with one line about what does not fit; never ends while what has not failed
/// waits for a disk that does not answer. Await it on the source's executor.
Task<std::shared_ptr<ParakeetLoaded>> loadParakeet(ParakeetSource source);

/// The token texts in a vocabulary file: a JSON object from decimal ids to texts. It has as many
/// entries as the object; ids that are no number below that are left out, and their entries stay
/// empty. Throws `std::runtime_error` when it is no such object.
std::vector<std::string> parakeetVocabulary(const Bytes& json);

/// Throws `std::runtime_error` with one line that names the model and the feature, unless the
/// four models take and give what the decoding needs.
void checkFeatures(const ParakeetLoaded& models);

} // namespace vorlin
