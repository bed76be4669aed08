// main() of every benchmark: measured in a multi-threaded process, as the library always
// runs, since the C and C++ runtimes skip their locking until a thread has existed.
#include <benchmark/benchmark.h>

#include <thread>

int main(int argc, char** argv) {
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
