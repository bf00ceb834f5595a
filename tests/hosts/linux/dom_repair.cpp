#include "hosts/dom_repair.h"

void RepairDom() {}
