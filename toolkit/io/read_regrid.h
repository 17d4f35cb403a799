#pragma once

#include "toolkit/io/read_samples.h"
#include "toolkit/io/read_stack.h"

namespace rzobl {

/// Samples of the stack on `grid` (from enclosing_grid), linear along rows, columns and from slice to slice;
/// rounded to nearest. Where a slice was not measured, `background`.
Volume regrid(const Stack& stack, const StackShape& shape, const VolumeSamples& samples, const Grid& grid,
              std::uint32_t background);

/// The volume of a stack and its samples, regridded if the stack is uneven and options ask for it. Throws
/// Error for an uneven stack otherwise.
Volume make_volume(const Stack& stack, StoredSamples&& stored, const ReadOptions& options,
                   const std::string& name, std::vector<std::string>& warnings);

/// Throws Error for an uneven stack that is not to be regridded; before samples are read.
void require_even(const StackShape& shape, const ReadOptions& options, const std::string& name);

}  // namespace rzobl
