// What the callbacks of one phase can see of the configuration, as libxml2 nodes: throw-away documents, one of the old
// configuration for removals and one of the new one for sets, made of the edit's closure only.
//
// Two documents, because one for both misleads handlers that read siblings: it would show them an entry that has gone
// already, or the value of a leaf that was just removed.
#pragma once

#include <memory>
#include <vector>

#include <libxml/tree.h>

#include "server/change_set.h"
#include "server/list_order.h"

namespace qnips
{

class CallbackDocument
{
public:
    CallbackDocument(const ChangeSet& changes, View view);
    ~CallbackDocument();
    CallbackDocument(const CallbackDocument&) = delete;
    CallbackDocument& operator=(const CallbackDocument&) = delete;

    // The element of a change; null when the view does not contain it.
    [[nodiscard]] xmlNode* element(const Change& change) const { return elements_[change.index]; }

    // The changes that the view contains, parents before children: siblings in document order, or from last to first.
    [[nodiscard]] std::vector<const Change*> in_order() const;
    [[nodiscard]] std::vector<const Change*> in_reverse() const;

    // Hides an element from its siblings and its parent's children once its removal has been told. It keeps its own
    // parent and children, since callbacks for nodes below it may follow.
    void take_out(const Change& change);

private:
    struct DocumentDeleter {
        void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
    };

    std::unique_ptr<xmlDoc, DocumentDeleter> document_;
    std::vector<xmlNode*> elements_; // by Change::index
    std::vector<xmlNode*> taken_out_;
};

} // namespace qnips
