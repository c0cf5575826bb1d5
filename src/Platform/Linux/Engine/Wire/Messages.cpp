#include "Platform/Linux/Engine/Wire/Messages.h"

#include "Platform/Linux/Engine/Wire/PacketReader.h"
#include "Platform/Linux/Engine/Wire/PacketWriter.h"

#include <utility>

namespace vorlin::engine {

Packet encode(const ControlRequest& message, Packet memory)
{
    if (const auto* load = std::get_if<LoadRequest>(&message)) {
        PacketWriter out(MessageKind::load, std::move(memory));
        out.put(load->version);
        out.put(load->model);
        out.put(load->threads);
        out.put(static_cast<std::uint8_t>(load->background));
        out.put(static_cast<std::uint8_t>(load->integers));
        out.put(std::string_view(load->bundle));
        out.put(std::string_view(load->frames.data));
        out.put(load->frames.axis);
        out.put(std::string_view(load->frames.length));
        out.put(load->frames.lengths);
        return out.take();
    }
    const auto& stop = std::get<StopRequest>(message);
    PacketWriter out(MessageKind::stop, std::move(memory));
    out.put(stop.model);
    out.put(stop.sequence);
    return out.take();
}

Packet encode(const ModelRequest& message, Packet memory)
{
    if (const auto* predict = std::get_if<PredictRequest>(&message)) {
        PacketWriter out(MessageKind::predict, std::move(memory));
        out.put(predict->sequence);
        out.put(static_cast<std::uint8_t>(predict->background));
        out.put(predict->frames);
        out.put(predict->memory);
        out.put(predict->outputs);
        out.put(predict->inputs);
        return out.take();
    }
    const auto& resume = std::get<ResumeRequest>(message);
    PacketWriter out(MessageKind::resume, std::move(memory));
    out.put(resume.sequence);
    out.put(resume.memory);
    out.put(resume.outputs);
    return out.take();
}

namespace {

Packet write(const LoadedReply& reply, Packet memory)
{
    PacketWriter out(MessageKind::loaded, std::move(memory));
    out.put(reply.inputs);
    out.put(reply.outputs);
    return out.take();
}

Packet write(const ComputedReply& reply, Packet memory)
{
    PacketWriter out(MessageKind::computed, std::move(memory));
    out.put(reply.sequence);
    out.put(reply.outputs);
    return out.take();
}

Packet write(const NeedsMemoryReply& reply, Packet memory)
{
    PacketWriter out(MessageKind::needsMemory, std::move(memory));
    out.put(reply.sequence);
    out.put(reply.bytes);
    return out.take();
}

Packet write(const StoppedReply& reply, Packet memory)
{
    PacketWriter out(MessageKind::stopped, std::move(memory));
    out.put(reply.sequence);
    return out.take();
}

Packet write(const FailedReply& reply, Packet memory)
{
    PacketWriter out(MessageKind::failed, std::move(memory));
    out.put(reply.sequence);
    out.put(std::string_view(reply.text));
    out.put(static_cast<std::uint8_t>(reply.noSuchLength));
    return out.take();
}

} // namespace

Packet encode(const Reply& message, Packet memory)
{
    return std::visit([&](const auto& reply) { return write(reply, std::move(memory)); }, message);
}

std::optional<ControlRequest> parseControlRequest(std::span<const std::byte> packet)
{
    PacketReader in(packet);
    switch (in.number<MessageKind>()) {
    case MessageKind::load: {
        LoadRequest load;
        load.version = in.number<std::uint32_t>();
        load.model = in.number<std::uint32_t>();
        load.threads = in.number<std::uint32_t>();
        load.background = in.flag();
        load.integers = in.flag();
        load.bundle = in.text();
        load.frames.data = in.text();
        load.frames.axis = in.number<std::uint32_t>();
        load.frames.length = in.text();
        load.frames.lengths = in.lengths();
        in.require(load.frames.axis < mostAxes);
        return in.finish<ControlRequest>(std::move(load));
    }
    case MessageKind::stop: {
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
    PacketReader in(packet);
    switch (in.number<MessageKind>()) {
    case MessageKind::predict: {
        PredictRequest predict;
        predict.sequence = in.number<std::uint64_t>();
        predict.background = in.flag();
        predict.frames = in.number<std::int64_t>();
        predict.memory = in.number<std::uint64_t>();
        predict.outputs = in.number<std::uint64_t>();
        predict.inputs = in.tensors();
        in.require(predict.frames >= 0 && predict.memory <= largestMemory &&
                   predict.outputs <= largestMemory);
        return in.finish<ModelRequest>(std::move(predict));
    }
    case MessageKind::resume: {
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
    PacketReader in(packet);
    switch (in.number<MessageKind>()) {
    case MessageKind::loaded: {
        LoadedReply loaded;
        loaded.inputs = in.features();
        loaded.outputs = in.features();
        return in.finish<Reply>(std::move(loaded));
    }
    case MessageKind::computed: {
        ComputedReply computed;
        computed.sequence = in.number<std::uint64_t>();
        computed.outputs = in.tensors();
        return in.finish<Reply>(std::move(computed));
    }
    case MessageKind::needsMemory: {
        NeedsMemoryReply needs;
        needs.sequence = in.number<std::uint64_t>();
        needs.bytes = in.number<std::uint64_t>();
        in.require(needs.bytes <= largestMemory);
        return in.finish<Reply>(needs);
    }
    case MessageKind::stopped: return in.finish<Reply>(StoppedReply{in.number<std::uint64_t>()});
    case MessageKind::failed: {
        FailedReply failed;
        failed.sequence = in.number<std::uint64_t>();
        failed.text = in.text();
        failed.noSuchLength = in.flag();
        return in.finish<Reply>(std::move(failed));
    }
    default: return std::nullopt;
    }
}

} // namespace vorlin::engine
