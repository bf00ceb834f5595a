// For a comparison of two systems' DOMs: steps around what is known to be wrong with the present one.
#pragma once

/// For the rest of the process. Does nothing where nothing is known.
void RepairDom();
