#include "Recorder.h"

#include <mutex>
#include <thread>
#include <utility>

namespace standins {
namespace {

const std::thread::id mainThread = std::this_thread::get_id();
std::mutex guard;
std::vector<std::string> calls;

} // namespace

bool isMainThread()
{
    return std::this_thread::get_id() == mainThread;
}

void note(const std::string& call)
{
    const std::lock_guard lock(guard);
    calls.push_back((isMainThread() ? "" : "elsewhere: ") + call);
}

std::vector<std::string> taken()
{
    const std::lock_guard lock(guard);
    return std::exchange(calls, {});
}

} // namespace standins
