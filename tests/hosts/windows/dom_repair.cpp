#include "hosts/dom_repair.h"
#include "windows/repaired_dom.h"

void RepairDom() {
    static const RepairedDom repaired;
}
