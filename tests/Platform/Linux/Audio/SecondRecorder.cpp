#include "SecondRecorder.h"

#include <gtest/gtest.h>

#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace vorlin {

namespace {

constexpr std::size_t pieceFrames = 1024;

} // namespace

struct SecondRecorder::Stream {
    pa_simple* connection = nullptr;
    std::size_t samplesOfPiece = 0;
    std::size_t samplesOfSilence = 0;

    /// Adds the next piece to `heard`.
    void read(std::vector<float>& heard) const
    {
        const std::size_t before = heard.size();
        heard.resize(before + samplesOfPiece);
        int error = 0;
        if (pa_simple_read(connection, heard.data() + before, samplesOfPiece * sizeof(float),
                           &error) < 0) {
            throw std::runtime_error(std::string("the second recorder: ") + pa_strerror(error));
        }
    }

    bool heardAll(const std::vector<float>& heard) const
    {
        const auto isSound = [](float sample) { return sample != 0; };
        const auto last = std::find_if(heard.rbegin(), heard.rend(), isSound);
        return last != heard.rend() &&
               static_cast<std::size_t>(last - heard.rbegin()) >= samplesOfSilence;
    }
};

SecondRecorder::SecondRecorder(std::uint32_t rate, std::uint32_t channels)
    : stream(new Stream{nullptr, pieceFrames * channels, std::size_t{rate} * channels / 2})
{
    const pa_sample_spec format = {.format = PA_SAMPLE_FLOAT32NE,
                                   .rate = rate,
                                   .channels = static_cast<std::uint8_t>(channels)};
    pa_buffer_attr attributes;
    attributes.maxlength = attributes.tlength = attributes.prebuf = attributes.minreq =
        static_cast<std::uint32_t>(-1);
    attributes.fragsize = static_cast<std::uint32_t>(stream->samplesOfSilence * sizeof(float) / 5);
    int error = 0;
    stream->connection = pa_simple_new(nullptr, "second recorder", PA_STREAM_RECORD, nullptr,
                                       "test", &format, nullptr, &attributes, &error);
    if (stream->connection == nullptr) {
        throw std::runtime_error(std::string("the second recorder: ") + pa_strerror(error));
    }
    stream->read(heard);
    thread = std::jthread([this](const std::stop_token& stop) { record(stop); });
}

SecondRecorder::~SecondRecorder()
{
    thread = {};
    pa_simple_free(stream->connection);
    delete stream;
}

std::vector<float> SecondRecorder::untilSilence()
{
    thread.join();
    return heard;
}

void SecondRecorder::record(const std::stop_token& stop)
{
    try {
        while (!stop.stop_requested() && !stream->heardAll(heard)) {
            stream->read(heard);
        }
    } catch (const std::runtime_error& error) {
        ADD_FAILURE() << error.what();
    }
}

} // namespace vorlin
