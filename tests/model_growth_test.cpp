// Wide and deep trees: what each operation costs per node must not grow with the tree, and no depth needs native stack.
#include <algorithm>
#include <ctime>

#include "document_bytes.h"

namespace {

constexpr int kFewNodes = 8'000;
constexpr int kManyNodes = 16 * kFewNodes;
// A quadratic operation is 16 times dearer per node at the larger size. Caches that no longer hold the tree are worth
// two or three.
constexpr double kMostGrowth = 8;

Bytes WideTree(int count) {
    CBytes bytes;
    bytes.Words({u"a", u"b", u"c"}).Element(0, count);
    for (int i = 0; i < count; ++i) bytes.Element(1, 0, {1, 2});
    return bytes;
}

Text NumberedName(int number) {
    const std::string digits = std::to_string(number);
    return WTEXT("n") + Text(digits.begin(), digits.end());
}

// A document to work on, ready for the operation that is measured.
struct Work {
    explicit Work(int nodes) : count(nodes), document(LoadedDocument(WideTree(nodes))), root(RootOf(document.get())) {}

    NodePtr Child(int index) const {
        IBinNode* child = nullptr;
        root->GetChild(index, &child);
        return NodePtr(child);
    }
    void Remove(int index) { EXPECT_TRUE(Child(index)->RemoveFromParent()); }

    int count;
    DocumentPtr document;
    NodePtr root;
};

struct Row {
    const char* what;
    void (*run)(Work& work);
};

const Row kRows[] = {
    {"append",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i)
             Append(work.root.get(), NewElement(work.document.get(), WTEXT("n")).get());
     }},
    {"append the first to the end",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i) Append(work.root.get(), work.Child(0).get());
     }},
    {"remove from the front",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i) work.Remove(0);
     }},
    {"remove from the back",
     [](Work& work) {
         for (int i = work.count; i > 0; --i) work.Remove(i - 1);
     }},
    {"remove from the middle",
     [](Work& work) {
         for (int i = work.count; i > 0; --i) work.Remove(i / 2);
     }},
    {"remove every other one",
     [](Work& work) {
         for (int i = 0; i < work.count / 2; ++i) work.Remove(i);
     }},
    {"set attributes, and again",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i) work.root->SetAttribute(NumberedName(i).c_str(), WTEXT("v"));
         work.document->SetModified(false);
         for (int i = 0; i < work.count; ++i) work.root->SetAttribute(NumberedName(i).c_str(), WTEXT("v"));
     }},
    {"set and remove attributes",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i) work.root->SetAttribute(NumberedName(i).c_str(), WTEXT("v"));
         for (int i = 0; i < work.count; ++i) EXPECT_TRUE(work.root->RemoveAttribute(NumberedName(i).c_str()));
     }},
    {"set values",
     [](Work& work) {
         for (int i = 0; i < work.count; ++i) work.Child(i)->SetValue(NumberedName(i).c_str());
     }},
    {"build downwards",
     [](Work& work) {
         NodePtr top = NewElement(work.document.get(), WTEXT("n"));
         Append(work.root.get(), top.get());
         for (int i = 0; i < work.count; ++i) {
             NodePtr below = NewElement(work.document.get(), WTEXT("n"));
             Append(top.get(), below.get());
             top = std::move(below);
         }
     }},
    {"build upwards",
     [](Work& work) {
         NodePtr below = NewElement(work.document.get(), WTEXT("n"));
         for (int i = 0; i < work.count; ++i) {
             NodePtr top = NewElement(work.document.get(), WTEXT("n"));
             Append(top.get(), below.get());
             below = std::move(top);
         }
         Append(work.root.get(), below.get());
     }},
    {"move to another document and back",
     [](Work& work) {
         const DocumentPtr other = NewDocument();
         const NodePtr otherRoot = RootOf(other.get());
         for (int i = 0; i < work.count; ++i) Append(otherRoot.get(), work.Child(0).get());
         Append(work.root.get(), otherRoot.get());
     }},
    {"hold every node over a load",
     [](Work& work) {
         std::vector<NodePtr> held;
         for (int i = 0; i < work.count; ++i) held.push_back(work.Child(i));
         EXPECT_TRUE(work.document->LoadFromBuffer(WideTree(1).data()));
         EXPECT_EQ(Notation(held.back().get()), "b[b=c]");
     }},
    {"copy, compare, rebuild",
     [](Work& work) {
         IBinNode* copy = nullptr;
         EXPECT_TRUE(work.root->Clone(&copy, true));
         EXPECT_TRUE(work.root->IsEqual(&copy, true));
         Append(work.root.get(), copy);
         copy->Release();
         work.document->Compact();
     }},
};

double CpuSecondsPerNode(const Row& row, int count) {
    double best = 1e9;
    for (int attempt = 0; attempt < (count == kFewNodes ? 5 : 1); ++attempt) {
        Work work(count);
        const std::clock_t start = std::clock();
        row.run(work);
        best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / count);
    }
    return best;
}

}  // namespace

TEST(ModelGrowth, NoOperationIsQuadratic) {
    for (const Row& row : kRows) {
        const double few = std::max(CpuSecondsPerNode(row, kFewNodes), 1e-8);
        const double many = CpuSecondsPerNode(row, kManyNodes);
        EXPECT_LT(many / few, kMostGrowth)
            << row.what << ": " << few * 1e9 << " ns, then " << many * 1e9 << " ns per node";
    }
}
