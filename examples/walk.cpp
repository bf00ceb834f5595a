// Converts menu.xml, loads the result and prints each dish with its price.
#include <parvel/parvel.h>

#include <cstdio>

void Print(const WCHAR* text) {
    for (; text && *text; ++text) std::putchar(*text < 128 ? static_cast<char>(*text) : '?');
}

int main() {
    IBinDocument* document = nullptr;
    if (!TransXml2Bin(u"menu.xml", u"menu.bdoc")) return 2;
    if (KestQueryBinDocInterface(&IID_IBinDocument, &document) != 0) return 5;
    IBinNode* menu = nullptr;
    if (document->LoadFromFile(u"menu.bdoc")) document->GetRoot(&menu);
    for (std::int32_t i = 0; menu && i < menu->GetChildCount(); ++i) {
        IBinNode* dish = nullptr;
        menu->GetChild(i, &dish);
        Print(dish->GetValue());
        Print(u": ");
        Print(dish->GetAttribute(u"price"));
        Print(u"\n");
        dish->Release();
    }
    if (menu) menu->Release();
    document->Release();
}
