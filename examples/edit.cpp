// Loads menu.bdoc and bakery.bdoc, changes the first dish of the menu, moves the bakery's first cake into it, saves it.
#include <parvel/parvel.h>

#include <memory>

// Every pointer that the library stores comes with a reference; this gives it back.
struct Release {
    template <class Interface>
    void operator()(Interface* object) const {
        object->Release();
    }
};
using Document = std::unique_ptr<IBinDocument, Release>;
using Node = std::unique_ptr<IBinNode, Release>;

// Null when there is no such document.
Document Load(const WCHAR* path) {
    IBinDocument* document = nullptr;
    if (KestQueryBinDocInterface(&IID_IBinDocument, &document) != 0) return nullptr;
    Document loaded(document);
    if (!loaded->LoadFromFile(path)) loaded.reset();
    return loaded;
}

Node Root(IBinDocument& document) {
    IBinNode* root = nullptr;
    document.GetRoot(&root);
    return Node(root);
}

// Null past the last child.
Node Child(IBinNode& parent, std::int32_t index) {
    IBinNode* child = nullptr;
    parent.GetChild(index, &child);
    return Node(child);
}

int main() {
    const Document menu = Load(u"menu.bdoc");
    const Document bakery = Load(u"bakery.bdoc");
    if (!menu || !bakery) return 3;
    const Node root = Root(*menu);
    const Node dish = Child(*root, 0);
    const Node cake = Child(*Root(*bakery), 0);
    if (!dish || !cake) return 3;

    dish->SetName(u"starter");
    dish->SetAttribute(u"price", u"4");
    dish->SetValue(u"Tomato soup");

    // The cake leaves its document and takes all its texts along. `cake` stays the host's own reference.
    IBinNode* moved = cake.get();
    if (!root->AppendChild(&moved)) return 5;

    // Saving brings the edits into the file; until then they exist in memory only.
    return menu->Save() ? 0 : 5;
}
