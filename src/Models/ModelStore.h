#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Async/Stop.h"
#include "Async/Task.h"
#include "Engine.h"
#include "Models/Downloads.h"
#include "Models/EngineOperations.h"
#include "Models/SpeechEngines.h"
#include "Ports/Folders.h"
#include "Ports/Random.h"
#include "Ports/Workers.h"
#include "Preferences.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vorlin {

/// The engine catalog: which engines exist, whether their models are on disk, how much room they
/// take, which one is selected and which are being downloaded. Main loop; no call waits for a
/// disk, so that what depends on one appears in the published values later.
class ModelStore {
public:
    struct Downloading {
        /// 0 to 1.
        double fraction = 0;
        bool operator==(const Downloading&) const = default;
    };
    struct NotInstalled {
        bool operator==(const NotInstalled&) const = default;
    };
    struct Installed {
        bool operator==(const Installed&) const = default;
    };
    using State = std::variant<Downloading, NotInstalled, Installed>;

    /// What the store works with; all of it must outlive the store.
    struct Needs {
        MainLoop& loop;
        Workers& workers;
        std::shared_ptr<Folders> folders;
        Random& random;
        Preferences& preferences;
        SpeechEngines& speech;
        Downloads& downloads;
    };

    /// Loads the list and the selection, and starts looking at every model folder, the selected
    /// one first. A selected engine that turns out not to be installed gives way to the
    /// platform's recogniser, unless another was selected meanwhile.
    explicit ModelStore(const Needs& needs);
    ModelStore(const ModelStore&) = delete;
    ModelStore& operator=(const ModelStore&) = delete;
    /// Cancels what is being downloaded.
    ~ModelStore() = default;

    /// The built-in engines, then the custom ones in the order in which they were added.
    Published<std::vector<Engine>, ModelStore> engines;
    /// By engine id. An engine whose folder was not looked at yet has no entry.
    Published<std::map<std::string, State>, ModelStore> states;
    /// By engine id: the disk room of an installed model, once measured.
    Published<std::map<std::string, std::string>, ModelStore> sizes;
    /// By engine id: what an engine's folder lacks to be a model, for one that was looked at and is
    /// not installed.
    Published<std::map<std::string, std::vector<std::string>>, ModelStore> lacking;
    /// The last failure of an add or a download, one line; cleared by the next that begins. Also
    /// why the engine that was selected at the start gave way, where a file of its model is there
    /// and cannot be used.
    Published<std::optional<std::string>, ModelStore> lastError;
    /// The id of the selected engine.
    Published<std::string, ModelStore> selected;

    /// Selects an engine of the list that is installed, stores that and warms it. Any other id is
    /// ignored.
    void select(const std::string& id);

    /// Starts the download of a listed hub engine that is not being downloaded; selects it when it
    /// is complete. After a failure the engine is not installed, unless its folder turns out to
    /// hold the model that was there before.
    void install(const Engine& engine);

    /// Cancels the engine's download, deletes its downloaded folder and takes a custom engine off
    /// the list. A local folder is not touched. Unloads whatever model is loaded.
    void remove(const Engine& engine);

    /// Adds the repository "owner/name" and starts its download. An empty `name` means the
    /// repository's own.
    void addHub(const std::string& repository, const std::string& name);

    /// Adds the model in a folder of this machine, once that was seen to be complete, and selects
    /// it. An empty `name` means the folder's own.
    void addLocal(const std::filesystem::path& folder, const std::string& name);

    /// A speech engine for one dictation: the selected one, or the platform's recogniser when
    /// that is not known to be installed.
    std::shared_ptr<Transcriber> makeTranscriber();

    /// The id of the engine that `makeTranscriber` makes.
    std::string engineInUse() const;

    /// Loads the selected model ahead of its use, as soon as it is known to be installed.
    void warmSelected();

    /// The folder of the downloaded models, which need not exist.
    std::filesystem::path modelsRoot() const { return needs.folders->modelsRoot(); }

    /// Where an engine's model lies. Nothing for the platform's recogniser, and for an id that
    /// could lead out of the models folder.
    std::optional<std::filesystem::path> folder(const Engine& engine) const;

private:
    using Ticket = EngineOperations::Ticket;
    using Checked = std::function<void(const std::vector<std::string>& missing)>;

    void loadEngines();
    void restoreSelection();
    void checkAtStart(const Engine& engine);
    void giveWay(const std::string& id, const std::vector<std::string>& missing);
    void check(const std::filesystem::path& modelFolder, Checked checked);
    void installed(const std::string& id, const std::filesystem::path& modelFolder);
    void measure(const std::string& id, const std::filesystem::path& modelFolder);

    void beginInstall(const std::string& id, const std::string& repository,
                      const std::filesystem::path& modelFolder);
    Task<void> transfer(std::string id, std::string repository, std::filesystem::path modelFolder,
                        Ticket ticket, StopToken stop);
    Downloads::OnProgress progressFor(const std::string& id, Ticket ticket);
    void progressed(const std::string& id, Ticket ticket, double fraction);
    void transferred(const std::string& id, const std::filesystem::path& modelFolder,
                     Ticket ticket);
    void transferFailed(const std::string& id, const std::filesystem::path& modelFolder,
                        const std::optional<std::string>& failure);
    void removeFolder(const std::string& id, const std::filesystem::path& modelFolder);
    void addChecked(const std::string& folder, const std::string& name,
                    const std::vector<std::string>& missing);

    bool registerEngine(const Engine& engine);
    void storeEngines(std::vector<Engine> list);
    std::string newId();
    std::optional<Engine> listed(const std::string& id) const;
    bool isInstalled(const std::string& id) const;
    void setState(const std::string& id, std::optional<State> state);
    void setSize(const std::string& id, std::optional<std::string> size);
    void setLacking(const std::string& id, const std::vector<std::string>& names);
    void setSelected(const std::string& id);

    const Needs needs;
    EngineOperations operations;
    /// The selected model is to be warmed as soon as its state is known.
    bool warmWhenKnown = false;
    Lifetime lifetime;
};

} // namespace vorlin
