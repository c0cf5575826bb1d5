#include "Platform/Linux/Desktop/JsonDefaults.h"

#include "Platform/Linux/Desktop/SettingsFile.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <utility>

namespace vorlin {

namespace {

/// How long after a sign of change the file is read: an editor may take several steps.
constexpr auto settlingTime = std::chrono::milliseconds(50);

} // namespace

/// What touches the file: one piece of work at a time, on whatever thread.
class JsonDefaults::Disk {
public:
    explicit Disk(const std::filesystem::path& path) : file(path) {}

    const SettingsFile& settingsFile() const { return file; }

    /// The settings at the start of the program.
    SettingsText load()
    {
        const std::scoped_lock guard(lock);
        try {
            file.makeFolder();            // that an edit from outside may be seen
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): a write will report it
        }
        const auto contents = file.read();
        if (contents.state == SettingsFile::State::damaged) {
            try {
                setAside();
            } catch (const std::exception& error) {
                complain(error.what());
            }
        } else if (contents.state == SettingsFile::State::unreadable) {
            complain((file.linkPath().string() + " cannot be read").c_str());
        }
        wasAbsent = contents.state == SettingsFile::State::absent;
        return contents.settings;
    }

    /// Makes an empty file, once, if there was none at the start.
    bool create()
    {
        const std::scoped_lock guard(lock);
        if (!std::exchange(wasAbsent, false)) {
            return false;
        }
        try {
            if (file.read().state == SettingsFile::State::absent) {
                file.replace({});
            }
            return true;
        } catch (const std::exception&) { // a write will report it
            return false;
        }
    }

    /// Brings the file and this process together: reads the file, applies `ours`, writes it
    /// when that makes a difference. Returns what is on disk then; nothing when that is not
    /// known, or not to be believed yet. `held` are all settings that this process knows.
    std::optional<SettingsText> synchronise(const Changes& ours, const SettingsText& held)
    {
        const std::scoped_lock guard(lock);
        if (closed) {
            return std::nullopt;
        }
        try {
            auto contents = file.read();
            const bool readable = contents.state == SettingsFile::State::readable;
            if (ours.empty()) {
                const bool believed = readable || contents.state == SettingsFile::State::absent;
                return believed ? std::optional(std::move(contents.settings)) : std::nullopt;
            }
            if (contents.state == SettingsFile::State::unreadable) {
                complain((file.linkPath().string() + " cannot be read").c_str());
                return std::nullopt;
            }
            auto merged = readable ? contents.settings : held;
            bool differs = !readable;
            for (const auto& [key, change] : ours) {
                differs = merged.set(key, change.value) || differs;
            }
            if (differs) {
                if (contents.state == SettingsFile::State::damaged) {
                    setAside();
                }
                file.replace(merged);
            }
            return merged;
        } catch (const std::exception& error) {
            complain(error.what());
            return std::nullopt;
        }
    }

    /// Waits for the work under way and makes all further work do nothing.
    void close()
    {
        const std::scoped_lock guard(lock);
        closed = true;
    }

private:
    void setAside() const
    {
        const auto aside = file.setAside();
        std::fprintf(stderr, "vorlin: the settings were damaged; they are now in %s\n",
                     aside.c_str());
    }

    void complain(const char* reason)
    {
        if (!std::exchange(complained, true)) {
            std::fprintf(stderr,
                         "vorlin: the settings cannot be stored and hold only until the program "
                         "ends: %s\n",
                         reason);
        }
    }

    SettingsFile file;
    std::mutex lock;
    bool closed = false;
    bool complained = false;
    bool wasAbsent = false;
};

JsonDefaults::JsonDefaults(const std::filesystem::path& file, MainLoop& loop, Executor& worker)
    : loop(loop), worker(worker), disk(std::make_shared<Disk>(file)), settings(disk->load()),
      watch([this] { fileChanged(); })
{
    watch.watch(disk->settingsFile().linkPath(), disk->settingsFile().target());
}

JsonDefaults::~JsonDefaults()
{
    writeNow();
    disk->close();
}

void JsonDefaults::writeNow()
{
    if (!changes.empty()) {
        disk->synchronise(changes, settings);
        changes.clear();
    }
}

bool JsonDefaults::create()
{
    return disk->create();
}

std::optional<DefaultsValue> JsonDefaults::value(const std::string& key) const
{
    return settings.value(key);
}

void JsonDefaults::set(const std::string& key, std::optional<DefaultsValue> value)
{
    if (!settings.set(key, value)) {
        return;
    }
    changes[key] = {std::move(value), ++changeNumber};
    synchronise();
    notify({key});
}

std::shared_ptr<const void>
JsonDefaults::observe(std::function<void(const std::string& key)> observer)
{
    std::erase_if(observers, [](const auto& each) { return each.token.expired(); });
    auto token = std::make_shared<const char>();
    observers.push_back({token, std::make_shared<const std::function<void(const std::string&)>>(
                                    std::move(observer))});
    return token;
}

void JsonDefaults::fileChanged()
{
    if (settling) {
        return;
    }
    settling = loop.startTimer(settlingTime, [this] {
        settling.reset();
        synchronise();
    });
}

void JsonDefaults::synchronise()
{
    if (std::exchange(synchronising, true)) {
        synchroniseAgain = true;
        return;
    }
    auto finish = [this, upTo = changeNumber](const std::optional<SettingsText>& onDisk) {
        synchronised(onDisk, upTo);
    };
    worker.post([disk = disk, changes = changes, held = settings, &loop = loop,
                 finish = lifetime.guard(std::move(finish))]() mutable {
        auto onDisk = disk->synchronise(changes, held);
        loop.post([finish = std::move(finish), onDisk = std::move(onDisk)] { finish(onDisk); });
    });
}

void JsonDefaults::synchronised(const std::optional<SettingsText>& onDisk, std::uint64_t upTo)
{
    synchronising = false;
    if (std::exchange(synchroniseAgain, false)) {
        synchronise();
    }
    watch.watch(disk->settingsFile().linkPath(), disk->settingsFile().target());
    if (!onDisk) {
        return;
    }
    std::erase_if(changes, [&](const auto& each) { return each.second.number <= upTo; });
    auto merged = *onDisk;
    for (const auto& [key, change] : changes) {
        merged.set(key, change.value);
    }
    const auto changed = settings.keysThatDiffer(merged);
    settings = std::move(merged);
    notify(changed);
}

void JsonDefaults::notify(const std::vector<std::string>& keys)
{
    const auto token = lifetime.token(); // an observer may even destroy this object
    const auto current = observers;      // an observer may add or remove observers, or set values
    for (const auto& key : keys) {
        for (const auto& observer : current) {
            if (!token.expired() && !observer.token.expired()) {
                (*observer.call)(key);
            }
        }
    }
}

} // namespace vorlin
