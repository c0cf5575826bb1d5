#include "Platform/Linux/Engine/Wire/Messages.h"

#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace vorlin::engine {

namespace {

enum class Kind : std::uint8_t {
    load = 1,
    stop,
    predict,
    resume,
    loaded,
    computed,
    needsMemory,
    stopped,
    failed,
};

constexpr std::size_t mostShapes = 4096;

// --- Writing
// --------------------------------------------------------------------------------------

class Writer {
public:
    explicit Writer(Kind kind)
    {
        bytes.reserve(512);
        put(kind);
    }

    template <class T>
        requires std::is_trivially_copyable_v<T>
    void put(T value)
    {
        const auto* raw = reinterpret_cast<const std::byte*>(&value);
        bytes.insert(bytes.end(), raw, raw + sizeof value);
    }

    void put(std::string_view text)
    {
        text = text.substr(0, longestText);
        put(static_cast<std::uint32_t>(text.size()));
        const auto* raw = reinterpret_cast<const std::byte*>(text.data());
        bytes.insert(bytes.end(), raw, raw + text.size());
    }

    void put(const Tensor& tensor)
    {
        put(tensor.feature);
        put(tensor.element);
        putCount(tensor.shape.size());
        for (const auto extent : tensor.shape) {
            put(extent);
        }
        put(tensor.offset);
    }

    void put(const Feature& feature)
    {
        put(std::string_view(feature.name));
        put(feature.element);
        put(static_cast<std::uint8_t>(feature.optional));
        putCount(feature.shapes.size());
        for (const auto& shape : feature.shapes) {
            putCount(shape.size());
            for (const auto& range : shape) {
                put(range.least);
                put(range.most);
            }
        }
    }

    template <class T>
    void put(const std::vector<T>& list)
    {
        putCount(list.size());
        for (const auto& item : list) {
            put(item);
        }
    }

    Packet take() { return bytes.size() <= largestMessage ? std::move(bytes) : Packet(); }

private:
    void putCount(std::size_t count) { put(static_cast<std::uint32_t>(count)); }

    Packet bytes;
};

// --- Reading
// --------------------------------------------------------------------------------------

/// Reads values one after the other; once something is wrong, everything after it is, too.
class Reader {
public:
    explicit Reader(std::span<const std::byte> packet)
        : rest(packet), good(packet.size() <= largestMessage)
    {
    }

    template <class T>
        requires std::is_trivially_copyable_v<T>
    T number()
    {
        T value{};
        if (good && rest.size() >= sizeof value) {
            std::memcpy(&value, rest.data(), sizeof value);
            rest = rest.subspan(sizeof value);
        } else {
            good = false;
        }
        return value;
    }

    bool flag()
    {
        const auto value = number<std::uint8_t>();
        require(value <= 1);
        return value == 1;
    }

    Element element()
    {
        const auto value = number<std::uint8_t>();
        require(value <= static_cast<std::uint8_t>(Element::int32));
        return good ? static_cast<Element>(value) : Element::other;
    }

    /// How many items follow, each of at least `least` bytes.
    std::size_t count(std::size_t most, std::size_t least)
    {
        const std::size_t value = number<std::uint32_t>();
        require(value <= most && value <= rest.size() / least);
        return good ? value : 0;
    }

    std::string text()
    {
        const std::size_t length = count(longestText, 1);
        std::string result(reinterpret_cast<const char*>(rest.data()), length);
        rest = rest.subspan(length);
        return result;
    }

    Tensor tensor()
    {
        Tensor result;
        result.feature = number<std::uint32_t>();
        result.element = element();
        result.shape.resize(count(mostAxes, sizeof(std::int64_t)));
        for (auto& extent : result.shape) {
            extent = number<std::int64_t>();
        }
        result.offset = number<std::uint64_t>();
        require(result.feature < mostFeatures && result.offset % tensorAlignment == 0 &&
                byteCount(result.element, result.shape).has_value());
        return result;
    }

    Feature feature()
    {
        Feature result;
        result.name = text();
        result.element = element();
        result.optional = flag();
        result.shapes.resize(count(mostShapes, sizeof(std::uint32_t)));
        for (auto& shape : result.shapes) {
            shape.resize(count(mostAxes, sizeof(Range)));
            for (auto& range : shape) {
                range.least = number<std::int64_t>();
                range.most = number<std::int64_t>();
                require(range.least >= 0 && range.most >= range.least);
            }
        }
        return result;
    }

    std::vector<Tensor> tensors()
    {
        std::vector<Tensor> result(count(mostFeatures, 17));
        for (auto& item : result) {
            item = tensor();
        }
        return result;
    }

    std::vector<Feature> features()
    {
        std::vector<Feature> result(count(mostFeatures, 10));
        for (auto& item : result) {
            item = feature();
        }
        return result;
    }

    void require(bool condition) { good = good && condition; }

    /// `message`, if it was read to the last byte and nothing was wrong.
    template <class Message, class Specific>
    std::optional<Message> finish(Specific message) const
    {
        return good && rest.empty() ? std::optional<Message>(std::move(message)) : std::nullopt;
    }

private:
    std::span<const std::byte> rest;
    bool good;
};

} // namespace

Packet encode(const ControlRequest& message)
{
    if (const auto* load = std::get_if<LoadRequest>(&message)) {
        Writer out(Kind::load);
        out.put(load->version);
        out.put(load->model);
        out.put(load->threads);
        out.put(static_cast<std::uint8_t>(load->background));
        out.put(std::string_view(load->bundle));
        return out.take();
    }
    const auto& stop = std::get<StopRequest>(message);
    Writer out(Kind::stop);
    out.put(stop.model);
    out.put(stop.sequence);
    return out.take();
}

Packet encode(const ModelRequest& message)
{
    if (const auto* predict = std::get_if<PredictRequest>(&message)) {
        Writer out(Kind::predict);
        out.put(predict->sequence);
        out.put(static_cast<std::uint8_t>(predict->background));
        out.put(predict->memory);
        out.put(predict->outputs);
        out.put(predict->inputs);
        return out.take();
    }
    const auto& resume = std::get<ResumeRequest>(message);
    Writer out(Kind::resume);
    out.put(resume.sequence);
    out.put(resume.memory);
    out.put(resume.outputs);
    return out.take();
}

namespace {

Packet write(const LoadedReply& reply)
{
    Writer out(Kind::loaded);
    out.put(reply.inputs);
    out.put(reply.outputs);
    return out.take();
}

Packet write(const ComputedReply& reply)
{
    Writer out(Kind::computed);
    out.put(reply.sequence);
    out.put(reply.outputs);
    return out.take();
}

Packet write(const NeedsMemoryReply& reply)
{
    Writer out(Kind::needsMemory);
    out.put(reply.sequence);
    out.put(reply.bytes);
    return out.take();
}

Packet write(const StoppedReply& reply)
{
    Writer out(Kind::stopped);
    out.put(reply.sequence);
    return out.take();
}

Packet write(const FailedReply& reply)
{
    Writer out(Kind::failed);
    out.put(reply.sequence);
    out.put(std::string_view(reply.text));
    return out.take();
}

} // namespace

Packet encode(const Reply& message)
{
    return std::visit([](const auto& reply) { return write(reply); }, message);
}

std::optional<ControlRequest> parseControlRequest(std::span<const std::byte> packet)
{
    Reader in(packet);
    switch (in.number<Kind>()) {
    case Kind::load: {
        LoadRequest load;
        load.version = in.number<std::uint32_t>();
        load.model = in.number<std::uint32_t>();
        load.threads = in.number<std::uint32_t>();
        load.background = in.flag();
        load.bundle = in.text();
        return in.finish<ControlRequest>(std::move(load));
    }
    case Kind::stop: {
        StopRequest stop;
        stop.model = in.number<std::uint32_t>();
        stop.sequence = in.number<std::uint64_t>();
        return in.finish<ControlRequest>(stop);
    }
    default: return std::nullopt;
    }
}

std::optional<ModelRequest> parseModelRequest(std::span<const std::byte> packet)
{
    Reader in(packet);
    switch (in.number<Kind>()) {
    case Kind::predict: {
        PredictRequest predict;
        predict.sequence = in.number<std::uint64_t>();
        predict.background = in.flag();
        predict.memory = in.number<std::uint64_t>();
        predict.outputs = in.number<std::uint64_t>();
        predict.inputs = in.tensors();
        in.require(predict.memory <= largestMemory && predict.outputs <= largestMemory);
        return in.finish<ModelRequest>(std::move(predict));
    }
    case Kind::resume: {
        ResumeRequest resume;
        resume.sequence = in.number<std::uint64_t>();
        resume.memory = in.number<std::uint64_t>();
        resume.outputs = in.number<std::uint64_t>();
        in.require(resume.memory <= largestMemory && resume.outputs <= resume.memory);
        return in.finish<ModelRequest>(resume);
    }
    default: return std::nullopt;
    }
}

std::optional<Reply> parseReply(std::span<const std::byte> packet)
{
    Reader in(packet);
    switch (in.number<Kind>()) {
    case Kind::loaded: {
        LoadedReply loaded;
        loaded.inputs = in.features();
        loaded.outputs = in.features();
        return in.finish<Reply>(std::move(loaded));
    }
    case Kind::computed: {
        ComputedReply computed;
        computed.sequence = in.number<std::uint64_t>();
        computed.outputs = in.tensors();
        return in.finish<Reply>(std::move(computed));
    }
    case Kind::needsMemory: {
        NeedsMemoryReply needs;
        needs.sequence = in.number<std::uint64_t>();
        needs.bytes = in.number<std::uint64_t>();
        in.require(needs.bytes <= largestMemory);
        return in.finish<Reply>(needs);
    }
    case Kind::stopped: return in.finish<Reply>(StoppedReply{in.number<std::uint64_t>()});
    case Kind::failed: {
        FailedReply failed;
        failed.sequence = in.number<std::uint64_t>();
        failed.text = in.text();
        return in.finish<Reply>(std::move(failed));
    }
    default: return std::nullopt;
    }
}

std::size_t bytesOf(Element element)
{
    switch (element) {
    case Element::float32:
    case Element::int32: return 4;
    case Element::float16: return 2;
    case Element::other: break;
    }
    return 0;
}

std::optional<std::uint64_t> byteCount(Element element, std::span<const std::int64_t> shape)
{
    std::uint64_t count = bytesOf(element);
    if (count == 0) {
        return std::nullopt;
    }
    bool empty = false;
    for (const auto extent : shape) {
        if (extent < 0) {
            return std::nullopt;
        }
        const auto factor = static_cast<std::uint64_t>(extent);
        empty = empty || factor == 0;
        if (factor > 0 && count > largestMemory / factor) {
            return std::nullopt; // an array of nothing must not be large along other axes either
        }
        count *= factor > 0 ? factor : 1;
    }
    return empty ? 0 : count;
}

bool liesWithin(const Tensor& tensor, std::uint64_t begin, std::uint64_t end)
{
    const auto bytes = byteCount(tensor.element, tensor.shape);
    return bytes && tensor.offset >= begin && tensor.offset <= end && *bytes <= end - tensor.offset;
}

} // namespace vorlin::engine
