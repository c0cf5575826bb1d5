#pragma once

#include "Platform/Linux/Speech/SphinxDecoder.h"
#include "Ports/Workers.h"

#include <exception>
#include <memory>
#include <utility>

namespace vorlin {

/// A decoder on its way. Shared with the thread that waits for the disk.
struct SphinxLoad {
    explicit SphinxLoad(SpeechModel model) : model(std::move(model)) {}

    /// Loads the model where nobody else waits for a disk that does not answer, and then calls
    /// `arrived` on `to`.
    static void run(const std::shared_ptr<SphinxLoad>& load, Workers& workers, Executor& to,
                    Work arrived)
    {
        workers.runPatiently(
            WorkPriority::normal,
            [load] {
                try {
                    load->decoder = std::make_unique<SphinxDecoder>(load->model);
                } catch (const std::exception&) {
                    load->failure = std::current_exception();
                }
            },
            to, std::move(arrived));
    }

    const SpeechModel model;
    /// One of these two, once it has arrived.
    std::unique_ptr<SphinxDecoder> decoder;
    std::exception_ptr failure;
    bool arrived = false; // guarded by the worker's lock
};

} // namespace vorlin
