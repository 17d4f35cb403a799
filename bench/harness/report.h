#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "bench/harness/measure.h"

namespace rz_bench {

/// Prints one case as lines of a table.
void print_result(const Result& result);
/// Appends one case to a file, as one line of JSON.
void write_json(std::FILE* file, const Result& result);
/// The head of such a file: processor, compiler, versions of the peers.
void write_json_head(std::FILE* file, const std::vector<std::string>& versions);

}  // namespace rz_bench
