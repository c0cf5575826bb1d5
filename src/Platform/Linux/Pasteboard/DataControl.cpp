#include "Platform/Linux/Pasteboard/DataControl.h"

#include "Platform/Linux/Pasteboard/DataControlProtocols.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vorlin {

namespace {

/// Nobody offers more types in good faith.
constexpr std::size_t mostTypes = 1024;

template <class Protocol>
class DataControlOf final : public DataControl {
public:
    DataControlOf(WaylandConnection& connection, Changed changed)
        : connection(connection), changed(std::move(changed)),
          version(std::min(connection.offered(Protocol::managerInterface.name),
                           Protocol::newestVersion)),
          manager(connection.bind<typename Protocol::Manager>(Protocol::managerInterface, version)),
          seatChanges(connection.seat().observe([this](wl_seat* /*seat*/) {
              leaveSeat();
              takeSeat();
          }))
    {
        takeSeat();
    }

    ~DataControlOf() override
    {
        leaveSeat();
        while (!sources.empty()) {
            forget(*sources.back());
        }
        Protocol::destroyManager(manager);
        connection.flush();
    }

    std::vector<std::string> types(PasteSource source) const override
    {
        const auto& offer = current[selectionIndex(source)];
        return offer ? offer->types : std::vector<std::string>{};
    }

    bool receive(PasteSource source, const std::string& type, const Descriptor& end) override
    {
        const auto& offer = current[selectionIndex(source)];
        if (!offer || !connection.alive().get()) {
            return false;
        }
        Protocol::receive(offer->proxy, type.c_str(), end.number());
        connection.flush();
        return true;
    }

    bool offer(PasteSource source, const std::vector<std::string>& types, Offered offered) override
    {
        const bool reachable =
            source == PasteSource::clipboard || version >= Protocol::primarySince;
        if (device == nullptr || !reachable || !connection.alive().get()) {
            return false;
        }
        typename Protocol::Source* proxy = nullptr;
        if (!types.empty()) {
            proxy = Protocol::createSource(manager);
            auto& made =
                sources.emplace_back(std::make_unique<Source>(*this, proxy, std::move(offered)));
            Protocol::addSourceListener(proxy, &sourceListener, made.get());
            for (const std::string& type : types) {
                Protocol::offer(proxy, type.c_str());
            }
        }
        if (source == PasteSource::clipboard) {
            Protocol::setSelection(device, proxy);
        } else {
            Protocol::setPrimarySelection(device, proxy);
        }
        connection.flush();
        return true;
    }

private:
    struct Offer {
        explicit Offer(typename Protocol::Offer* proxy) : proxy(proxy) {}
        Offer(const Offer&) = delete;
        Offer& operator=(const Offer&) = delete;
        ~Offer() { Protocol::destroyOffer(proxy); }

        typename Protocol::Offer* const proxy;
        std::vector<std::string> types;
    };
    struct Source {
        DataControlOf& owner;
        typename Protocol::Source* const proxy;
        const Offered offered;
    };

    void takeSeat()
    {
        wl_seat* const seat = connection.seat().get();
        if (seat != nullptr && manager != nullptr) {
            device = Protocol::getDevice(manager, seat);
            Protocol::addDeviceListener(device, &deviceListener, this);
            connection.flushSoon();
        }
    }

    void leaveSeat()
    {
        if (device != nullptr) {
            Protocol::destroyDevice(std::exchange(device, nullptr));
        }
        introduced.clear();
        current = {};
    }

    void introduce(typename Protocol::Offer* proxy)
    {
        introduced.push_back(std::make_unique<Offer>(proxy));
        Protocol::addOfferListener(proxy, &offerListener, introduced.back().get());
    }

    void select(PasteSource source, typename Protocol::Offer* proxy)
    {
        auto& held = current[selectionIndex(source)];
        held.reset();
        const auto found =
            std::ranges::find(introduced, proxy, [](const auto& each) { return each->proxy; });
        if (found != introduced.end()) {
            held = std::move(*found);
            introduced.erase(found);
        }
        changed(source);
    }

    void displaced(Source& source)
    {
        const auto tell = source.offered.displaced;
        forget(source);
        tell();
    }

    void forget(const Source& source)
    {
        Protocol::destroySource(source.proxy);
        std::erase_if(sources, [&source](const auto& each) { return each.get() == &source; });
    }

    static DataControlOf& self(void* data) { return *static_cast<DataControlOf*>(data); }

    static constexpr typename Protocol::DeviceListener deviceListener = {
        .data_offer = [](void* data, typename Protocol::Device* /*device*/,
                         typename Protocol::Offer* offer) { self(data).introduce(offer); },
        .selection =
            [](void* data, typename Protocol::Device* /*device*/, typename Protocol::Offer* offer) {
                self(data).select(PasteSource::clipboard, offer);
            },
        .finished = [](void* data,
                       typename Protocol::Device* /*device*/) { self(data).leaveSeat(); },
        .primary_selection =
            [](void* data, typename Protocol::Device* /*device*/, typename Protocol::Offer* offer) {
                self(data).select(PasteSource::primarySelection, offer);
            },
    };
    static constexpr typename Protocol::OfferListener offerListener = {
        .offer = [](void* data, typename Protocol::Offer* /*offer*/, const char* type) {
            auto& types = static_cast<Offer*>(data)->types;
            if (types.size() < mostTypes && std::ranges::find(types, type) == types.end()) {
                types.emplace_back(type);
            }
        }};
    static constexpr typename Protocol::SourceListener sourceListener = {
        .send = [](void* data, typename Protocol::Source* /*source*/, const char* type,
                   int end) { static_cast<Source*>(data)->offered.read(type, Descriptor(end)); },
        .cancelled =
            [](void* data, typename Protocol::Source* /*source*/) {
                auto& source = *static_cast<Source*>(data);
                source.owner.displaced(source);
            }};

    WaylandConnection& connection;
    const Changed changed;
    const std::uint32_t version;
    typename Protocol::Manager* const manager;
    typename Protocol::Device* device = nullptr;
    /// Not yet said to be anything.
    std::vector<std::unique_ptr<Offer>> introduced;
    std::array<std::unique_ptr<Offer>, selectionCount> current;
    std::vector<std::unique_ptr<Source>> sources;
    Subscription seatChanges;
};

} // namespace

bool DataControl::isOffered(const WaylandConnection& connection)
{
    return connection.offered(ExtDataControl::managerInterface.name) > 0 ||
           connection.offered(WlrDataControl::managerInterface.name) > 0;
}

std::unique_ptr<DataControl> DataControl::over(WaylandConnection& connection, Changed changed)
{
    if (connection.offered(ExtDataControl::managerInterface.name) > 0) {
        return std::make_unique<DataControlOf<ExtDataControl>>(connection, std::move(changed));
    }
    if (connection.offered(WlrDataControl::managerInterface.name) > 0) {
        return std::make_unique<DataControlOf<WlrDataControl>>(connection, std::move(changed));
    }
    return nullptr;
}

} // namespace vorlin
