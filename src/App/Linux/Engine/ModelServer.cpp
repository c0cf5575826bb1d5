#include "ModelServer.h"

#include "Platform/Linux/Engine/Wire/Channel.h"

#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin::engine {

ModelServer::ModelServer(Descriptor control) : control(std::move(control))
{
    mil::onBackgroundThreadStart(lowerOwnPriority);
}

void ModelServer::run()
{
    std::vector<std::byte> buffer(largestMessage);
    while (true) {
        Received received = receiveAttached(control, buffer);
        if (received.what != Received::What::packet || received.size > buffer.size()) {
            return;
        }
        auto request = parseControlRequest(std::span(buffer).first(received.size));
        if (!request) {
            return;
        }
        if (auto* load = std::get_if<LoadRequest>(&*request)) {
            handle(std::move(*load), std::move(received.attached));
        } else {
            handle(std::get<StopRequest>(*request));
        }
    }
}

void ModelServer::handle(LoadRequest request, Descriptor channel)
{
    const auto id = request.model;
    const auto model = std::make_shared<ServedModel>(std::move(channel), std::move(request), lane);
    {
        const std::scoped_lock guard(lock);
        models[id] = model;
    }
    try {
        std::thread([this, id, model] {
            model->serve();
            const std::scoped_lock guard(lock);
            models.erase(id);
        }).detach();
    } catch (const std::system_error&) {
        const std::scoped_lock guard(lock); // no thread is left: its channel ends
        models.erase(id);
    }
}

void ModelServer::handle(const StopRequest& request)
{
    std::shared_ptr<ServedModel> model;
    {
        const std::scoped_lock guard(lock);
        if (const auto found = models.find(request.model); found != models.end()) {
            model = found->second;
        }
    }
    if (model) {
        model->stop(request.sequence);
    }
}

} // namespace vorlin::engine
