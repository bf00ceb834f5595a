#include <csignal>

#include "platform/program.h"

CProgram::CProgram(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    for (int i = 1; i < argc; ++i) m_arguments.emplace_back(argv[i]);
}

CProgram::~CProgram() = default;
