// A program that has an engine process: loads a bundle, predicts once, writes the engine's number
// to standard output, and waits to be killed. As another user, if one is given.
//
//     engine_parent ENGINE BUNDLE [USER]        ENGINE may be `-`: where it finds it by itself
#include "EngineFixture.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    using namespace vorlin;
    using namespace vorlin::test;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (argc < 3 || (argc > 3 && ::setuid(static_cast<uid_t>(std::atoi(argv[3]))) != 0)) {
        return 1;
    }
    ThreadPool workers([] {});
    const std::filesystem::path engine = argv[1];
    EngineModels models(workers, engine == "-" ? engineProgram() : engine);
    const auto model = waitFor(models.load(argv[2], {ComputeUnits::cpuOnly}));
    waitFor(model->predict({{"x", floats({1, 2}, {2})}}, WorkPriority::normal, {}));
    std::printf("%d\n", children().front());
    std::fflush(stdout);
    while (true) {
        ::pause();
    }
}
