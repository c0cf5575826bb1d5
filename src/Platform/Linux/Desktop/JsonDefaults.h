#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Linux/Desktop/FileWatch.h"
#include "Platform/Linux/Desktop/SettingsText.h"
#include "Ports/Defaults.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The settings in one JSON file, which other programs may edit at any time.
///
/// Reads come from memory. A change is seen by the next read and written soon after, on a worker
/// so that no disk holds up the main loop; the destructor writes what is left. Each write starts
/// from what the file holds at that moment, so that an edit from outside is never lost: only
/// where both changed one key does ours count. A file that cannot be written costs one line on
/// standard error; the values then hold until the program ends, or until writing works again.
///
/// A damaged file is set aside at the start, and the defaults hold. One that is found damaged
/// later is left in peace, for its editor may not be done; it is set aside only by a write.
class JsonDefaults final : public Defaults {
public:
    /// Reads the file. `loop` must outlive what `worker` runs.
    JsonDefaults(const std::filesystem::path& file, MainLoop& loop, Executor& worker);
    JsonDefaults(const JsonDefaults&) = delete;
    JsonDefaults& operator=(const JsonDefaults&) = delete;
    ~JsonDefaults() override;

    /// Writes what is not known to be on disk, and waits for the disk. For the end of the program.
    void writeNow();

    /// Waits for the disk: at the start only.
    bool create() override;
    std::optional<DefaultsValue> value(const std::string& key) const override;
    void set(const std::string& key, std::optional<DefaultsValue> value) override;
    [[nodiscard]] std::shared_ptr<const void>
    observe(std::function<void(const std::string& key)> observer) override;

private:
    class Disk;

    /// An observer counts for as long as its token is kept, also while it is being called.
    struct Observer {
        std::weak_ptr<const void> token;
        std::shared_ptr<const std::function<void(const std::string&)>> call;
    };

    /// A change of ours that is not known to be on disk.
    struct Change {
        std::optional<DefaultsValue> value;
        std::uint64_t number = 0;
    };
    using Changes = std::map<std::string, Change>;

    void fileChanged();
    void synchronise();
    void synchronised(const std::optional<SettingsText>& onDisk, std::uint64_t upTo);
    void notify(const std::vector<std::string>& keys);

    MainLoop& loop;
    Executor& worker;
    std::shared_ptr<Disk> disk;
    SettingsText settings;
    Changes changes;
    std::uint64_t changeNumber = 0;
    bool synchronising = false;
    bool synchroniseAgain = false;
    /// Until the file is read after a sign of change.
    Timer settling;
    std::vector<Observer> observers;
    FileWatch watch;
    Lifetime lifetime;
};

} // namespace vorlin
