// Memory that is about to be filled.
#pragma once

#include <cstddef>

/// Has the system make the pages of memory that is about to be filled, all at once: when each is made as it is first
/// touched, the interruptions cost about as much as what they are for. Changes nothing that can be seen, and does
/// nothing for little memory, for memory that has its pages from before, or where the system cannot.
void MakePages(void* memory, std::size_t size);
