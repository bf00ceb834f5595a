// Who is measured, each behind the same few operations: a document that loads a case's file, and is walked.
#pragma once

#include <libxml/tree.h>
#include <parvel/parvel.h>

#include <cstdint>
#include <memory>
#include <pugixml.hpp>

#include "corpus.h"

/// This library.
class ParvelDocument {
public:
    ParvelDocument();
    ParvelDocument(const ParvelDocument&) = delete;
    ParvelDocument& operator=(const ParvelDocument&) = delete;
    ~ParvelDocument() { Release(); }

    bool Load(const CaseFile& file);
    /// Asks for every name, value and attribute, and gives a sum that depends on all of them.
    std::uint64_t Walk();
    /// The root's first attribute.
    std::uint64_t FirstAnswer();
    std::uint64_t CountNodes();
    void Release();

    IBinDocument* operator->() const { return m_document; }
    IBinDocument* Get() const { return m_document; }
    /// The root, with a reference.
    IBinNode* Root() const;

private:
    IBinDocument* m_document = nullptr;
};

class PugixmlDocument {
public:
    bool Load(const CaseFile& file);
    std::uint64_t Walk();
    std::uint64_t FirstAnswer();

    pugi::xml_document& Tree() { return m_tree; }

private:
    pugi::xml_document m_tree;
};

class Libxml2Document {
public:
    bool Load(const CaseFile& file);
    xmlDocPtr Tree() { return m_tree.get(); }

private:
    struct Free {
        void operator()(xmlDoc* tree) const { xmlFreeDoc(tree); }
    };
    std::unique_ptr<xmlDoc, Free> m_tree;
};

/// Reads a document's file into one block, as fast as that can be done, and does nothing with it.
class PlainRead {
public:
    bool Load(const CaseFile& file);
    void Release() { m_bytes.reset(); }

protected:
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_size = 0;
};

/// Reads the file, then checks every word and record once. Makes nothing of it.
class ReadAndCheck : public PlainRead {
public:
    bool Load(const CaseFile& file);
};
