// A sample configuration, and edits of it that are made anew for every call.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <libxml/tree.h>

namespace qnips
{
class YangSchema;
}

namespace qnips::conformance
{

using ElementId = std::size_t; // place among all elements in document order

struct DocDeleter {
    void operator()(xmlDoc* doc) const noexcept { xmlFreeDoc(doc); }
};
using Doc = std::unique_ptr<xmlDoc, DocDeleter>;

// What an edit does to the text of a leaf or to an element.
struct Change {
    enum class Kind {
        text,
        no_text,
        empty_text,
        gone,
        joined // by another element, named by the text, which the edit adds beside it
    };
    ElementId element = 0;
    Kind kind = Kind::text;
    std::string text{};
};

// A configuration with one changed node.
class Sample
{
public:
    // Reads a configuration. Throws when it cannot be read or breaks the schema.
    Sample(const std::filesystem::path& file, const YangSchema& schema);

    // The elements at a registered path, in document order.
    [[nodiscard]] std::vector<ElementId> instances(const std::string& path) const;

    [[nodiscard]] std::string path_of(ElementId element) const;
    [[nodiscard]] std::string text_of(ElementId element) const;
    [[nodiscard]] std::optional<ElementId> parent(ElementId element) const;
    [[nodiscard]] std::optional<ElementId> previous(ElementId element) const; // of the same name
    [[nodiscard]] std::vector<ElementId> children(ElementId element) const;
    [[nodiscard]] std::optional<ElementId> child(ElementId element, const std::string& name) const;

    // A copy with operations and changes; elements of the copy by their place.
    struct Edited {
        Doc doc;
        std::vector<xmlNode*> elements;
    };
    [[nodiscard]] Edited edited(const std::map<ElementId, int>& operations, const std::vector<Change>& changes) const;

private:
    [[nodiscard]] ElementId id_of(const xmlNode* element) const;

    Doc doc_;
    std::vector<xmlNode*> elements_;
};

} // namespace qnips::conformance
