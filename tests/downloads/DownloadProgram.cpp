// The engine catalog on the adapters that the program gives it, with a hand on it: each line on
// standard input is "install ID", "remove ID" or "add REPOSITORY", and is answered with "did" and
// itself. What the catalog shows is told on standard output, a line a change. It ends as the
// program does.
#include "Models/HubAddress.h"
#include "Models/HubDownloads.h"
#include "Models/ModelStore.h"
#include "Platform/Linux/Desktop/EnvironmentLocale.h"
#include "Platform/Linux/Desktop/JsonDefaults.h"
#include "Platform/Linux/Desktop/ThreadPriority.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Environment.h"
#include "Platform/Shared/Curl/CurlHTTPClient.h"
#include "Platform/Shared/DiskWorkingFolders.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/QuitDeadline.h"
#include "Platform/Shared/QuitSignals.h"
#include "Platform/Shared/SystemRandom.h"
#include "Platform/Shared/ThreadPool.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

namespace vorlin {
namespace {

/// Nobody dictates here.
class NoEngines final : public SpeechEngines {
public:
    std::shared_ptr<Transcriber> local(const std::filesystem::path&) override { return nullptr; }
    std::shared_ptr<Transcriber> platform(const std::string&) override { return nullptr; }
    void warm(const std::filesystem::path&) override {}
    void unload() override {}
};

struct Services {
    explicit Services(const Environment& environment)
        : workers(lowerThreadPriority),
          defaults(settingsPath(environment), loop, workers.executor(WorkPriority::normal)),
          locale(environment), http(loop, workers),
          folders(std::make_shared<XDGFolders>(modelsFolder(environment)))
    {
    }
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    ~Services()
    {
        defaults.writeNow();
        http.close();
        workers.close();
    }

    QtMainLoop loop;
    SystemRandom random;
    ThreadPool workers;
    JsonDefaults defaults;
    EnvironmentLocale locale;
    CurlHTTPClient http;
    std::shared_ptr<XDGFolders> folders;
    std::shared_ptr<DiskWorkingFolders> workingFolders = std::make_shared<DiskWorkingFolders>();
};

std::string shownState(const ModelStore::State& state)
{
    if (const auto* running = std::get_if<ModelStore::Downloading>(&state)) {
        return "downloading " + std::to_string(running->fraction);
    }
    return std::holds_alternative<ModelStore::Installed>(state) ? "installed" : "notInstalled";
}

void show(const std::string& line)
{
    std::puts(line.c_str());
    std::fflush(stdout);
}

void showStates(const std::map<std::string, ModelStore::State>& states)
{
    for (const auto& [id, state] : states) {
        show("state " + id + " " + shownState(state));
    }
}

const Engine* find(const ModelStore& models, const std::string& id)
{
    for (const Engine& engine : models.engines.get()) {
        if (engine.id == id) {
            return &engine;
        }
    }
    return nullptr;
}

void obey(ModelStore& models, const std::string& line)
{
    const auto blank = line.find(' ');
    const std::string verb = line.substr(0, blank);
    const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
    const Engine* engine = find(models, rest);
    if (verb == "install" && engine != nullptr) {
        models.install(Engine(*engine));
    } else if (verb == "remove" && engine != nullptr) {
        models.remove(Engine(*engine));
    } else if (verb == "add") {
        models.addHub(rest, "");
    }
    show("did " + line);
}

void obeyInput(ModelStore& models, std::string& line)
{
    std::array<char, 256> piece{};
    const auto count = ::read(STDIN_FILENO, piece.data(), piece.size());
    if (count <= 0) {
        QCoreApplication::quit();
    }
    for (ssize_t i = 0; i < count; ++i) {
        const char character = piece.at(static_cast<std::size_t>(i));
        if (character != '\n') {
            line += character;
        } else {
            obey(models, line);
            line.clear();
        }
    }
}

} // namespace
} // namespace vorlin

int main(int argc, char* argv[])
{
    using namespace vorlin;

    const QuitDeadline deadline(std::chrono::milliseconds(1800));
    const QCoreApplication qt(argc, argv);
    const QuitSignals quitSignals([] { QCoreApplication::quit(); });
    const Environment environment = processEnvironment();
    Services services(environment);
    Preferences preferences(services.defaults, services.locale);
    NoEngines engines;
    HubDownloads downloads({services.loop, services.workers, services.http, services.workingFolders,
                            std::string(hubAddress)});
    ModelStore models({services.loop, services.workers, services.folders, services.random,
                       preferences, engines, downloads});
    const auto states = models.states.observe(showStates);
    const auto errors = models.lastError.observe(
        [](const auto& error) { show("error " + error.value_or("(none)")); });
    const auto selection = models.selected.observe([](const auto& id) { show("selected " + id); });
    std::string line;
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] { obeyInput(models, line); });
    const int status = QCoreApplication::exec();
    QuitDeadline::begin();
    return status;
}
