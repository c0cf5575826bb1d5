#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// One complete set of recognition data on disk.
struct SpeechModel {
    /// "en-US", or "en" when the data names no region.
    std::string locale;
    /// Folder of the acoustic model.
    std::filesystem::path acousticModel;
    /// N-gram language model file.
    std::filesystem::path languageModel;
    /// Pronunciation dictionary file.
    std::filesystem::path dictionary;

    bool operator==(const SpeechModel&) const = default;
};

/// The recognition data installed on the machine, as one look at the disk has found it. Unreadable
/// and incomplete folders do not exist for it.
///
/// Each root holds a folder a locale, named `en-us`, `en-US`, `en_US` or `en`. In it:
/// - the acoustic model: the folder itself or, first in name order, a folder in it with `mdef`,
///   `means`, `variances`, `transition_matrices` and one of `sendump`, `mixture_weights`;
/// - the language model: a file `*.lm.bin`, else `*.lm`, else `*.lm.gz`; one named like the
///   folder wins over others; phone models (`*-phone.*`) are left out;
/// - the dictionary: a file `*.dict`, else `*.dic`, chosen likewise.
class SpeechModels {
public:
    /// None.
    SpeechModels() = default;

    /// Those in `roots`, most important first: of two models of one locale the earlier root's
    /// counts. Waits for the disk.
    explicit SpeechModels(const std::vector<std::filesystem::path>& roots);

    /// The model of exactly this locale; case and '_' for '-' do not matter, nor what follows
    /// '.' or '@'.
    std::optional<SpeechModel> exactly(const std::string& locale) const;

    /// The model nearest to `locale`: of that locale, else of its language without region, else
    /// of any region of the language (earlier root, then name order), else none.
    std::optional<SpeechModel> nearest(const std::string& locale) const;

    /// All of them, the earlier root's first, each root's in name order.
    const std::vector<SpeechModel>& all() const { return models; }

private:
    std::vector<SpeechModel> models;
};

} // namespace vorlin
