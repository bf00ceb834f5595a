// Hash of a name for a table in memory: eight bytes a step, folded multiplication, under a seed of the process's own,
// so that nobody can prepare names that collide.
#pragma once

#include <cstddef>
#include <cstdint>

std::uint32_t HashNameBytes(const void* bytes, std::size_t byteCount);
