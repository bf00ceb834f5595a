// Conversion by steps beside its slow twin, the walk over the tree.
#pragma once

#include <gtest/gtest.h>

#include "platform/text.h"

/// Whether both refuse the file, or make the same words and records of it.
::testing::AssertionResult StepsDoAsTheTree(const Text& path);
