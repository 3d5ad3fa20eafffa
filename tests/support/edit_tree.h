// The tree of one edit, as a test writes it down: an XML text in which the attribute `op` of an element says what the
// edit does to it ("ADD|CHAIN"; without it the element takes no part).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <libxml/tree.h>

namespace qnips::test
{

class EditTree
{
public:
    // Parses `xml`. An element may carry `op` (see above) and `text`, which replaces its content: text="" makes a leaf
    // whose text is empty and not null. Throws std::invalid_argument for a text that is no XML or an unknown operation.
    explicit EditTree(std::string_view xml);

    // The one element that the XPath expression selects. Throws std::invalid_argument when it selects none or several.
    [[nodiscard]] xmlNode* find(const std::string& xpath) const;

private:
    struct DocDeleter {
        void operator()(xmlDoc* doc) const noexcept { xmlFreeDoc(doc); }
    };

    std::unique_ptr<xmlDoc, DocDeleter> doc_;
};

// The element `level` steps above `node`; null beyond the root.
const xmlNode* ancestor(const xmlNode* node, int level);

// The first element child called `name`; null when there is none.
const xmlNode* child(const xmlNode* parent, std::string_view name);

// The operation bits of an element, 0 without any.
int operation(const xmlNode* element);

// The text of a leaf; null when it has none.
const char* leaf_text(const xmlNode* element);

} // namespace qnips::test
