#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "lower/tasks/runnable.h"
#include "toolkit/cli/commands.h"
#include "toolkit/core/error.h"
#include "toolkit/io/output_file.h"

namespace {

/// One sentence on standard error.
int complain(int status, std::string sentence) {
    for (char& letter : sentence)
        if (letter == '\n' || letter == '\r') letter = ' ';
    while (!sentence.empty() && (sentence.back() == ' ' || sentence.back() == '.')) sentence.pop_back();
    std::fprintf(stderr, "rzobl: %s.\n", sentence.c_str());
    return status;
}

extern "C" void end_by_signal(int signal) {
    rzobl::OutputFile::remove_unfinished();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

int run(int argc, char** argv) {
    CLI::App program{
        "Oblique planes and slabs from CT and MR volumes.\n"
        "Coordinates are LPS millimetres: x to the patient's left, y to the back, z to the head."};
    program.name("rzobl");
    program.require_subcommand(1);
    program.set_help_all_flag("--help-all", "Help of every command");
    program.get_formatter()->column_width(34);
    rzobl::cli::add_curved(program);
    rzobl::cli::add_info(program);
    rzobl::cli::add_mpr(program);
    rzobl::cli::add_slab(program);
    rzobl::cli::add_subtract(program);
    rzobl::cli::add_restack(program);
    rzobl::cli::add_resample(program);
    rzobl::cli::add_outline(program);
    rzobl::cli::add_phantom(program);
    program.footer(
        "Exit codes: 0 done, 1 bad input or usage, 2 a fault of rzobl, 130 cancelled by Ctrl-C.\n");
    try {
        program.parse(argc, argv);
        return 0;
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& usage) {
        const std::vector<std::string> rest = program.remaining();
        if (program.get_subcommands().empty() && !rest.empty() && rest.front().rfind('-', 0) != 0)
            return complain(1, "there is no command " + rest.front() + "; see rzobl --help");
        return complain(1, std::string(usage.what()) + "; see rzobl --help-all");
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, end_by_signal);
    try {
        return run(argc, argv);
    } catch (const rzobl::Error& error) {
        return complain(1, error.what());
    } catch (const WKR_CANCEL_EXCEPTION&) {
        return complain(130, "cancelled; nothing was written");
    } catch (const std::bad_alloc&) {
        return complain(1, "there is not enough memory for this");
    } catch (const std::exception& fault) {
        return complain(2, std::string("a fault of rzobl, not of its input: ") + fault.what());
    } catch (...) {
        return complain(2, "a fault of rzobl, not of its input");
    }
}
