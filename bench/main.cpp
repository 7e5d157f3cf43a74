// kvbench: the library's speed goals measured against the simulators (scripts/bench.sh).
#include "Goals.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    // The controllers print their console lines, and the commands they run
    // their complaints, as on the camera; the report keeps the terminal, the
    // rest goes to KVBENCH_LOG (default: nowhere).
    std::fflush(stdout);
    std::fflush(stderr);
    const int report = ::dup(STDOUT_FILENO);
    const int errors = ::dup(STDERR_FILENO);
    const char* log = std::getenv("KVBENCH_LOG");
    const int sink = ::open(log != nullptr ? log : "/dev/null", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (report < 0 || errors < 0 || sink < 0 || ::dup2(sink, STDOUT_FILENO) < 0 ||
        ::dup2(sink, STDERR_FILENO) < 0) {
        std::perror("kvbench: standard output");
        return 1;
    }
    ::close(sink);
    __gnu_cxx::stdio_filebuf<char> reportBuffer(report, std::ios::out);
    __gnu_cxx::stdio_filebuf<char> errorBuffer(errors, std::ios::out);
    std::streambuf* const oldOut = std::cout.rdbuf(&reportBuffer);
    std::streambuf* const oldErr = std::cerr.rdbuf(&errorBuffer);

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const int missed = kvbench::printTable(std::cout);
    if (missed > 0)
        std::cout << missed << " figure(s) over their goal\n";
    std::cout.flush();
    std::cerr.flush();
    std::cout.rdbuf(oldOut);
    std::cerr.rdbuf(oldErr);
    return 0;
}
