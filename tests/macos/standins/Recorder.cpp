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

void note(const std::string& call)
{
    const bool elsewhere = std::this_thread::get_id() != mainThread;
    const std::lock_guard lock(guard);
    calls.push_back((elsewhere ? "elsewhere: " : "") + call);
}

std::vector<std::string> taken()
{
    const std::lock_guard lock(guard);
    return std::exchange(calls, {});
}

} // namespace standins
