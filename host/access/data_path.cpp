#include "access/data_path.h"

#include <algorithm>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/rpc_error.h"
#include "server/yang_schema.h"

namespace qnips
{

// Reads the canonical form of a path, in which the type has checked grammar and values, the first step carries the name
// of its module, and a later one does where the module changes:
//   /module:top/list[key='value'][other="it's"]/leaf-list[.='value']
class DataPath::Reader
{
public:
    explicit Reader(const lyd_node* leaf) : leaf_(leaf), rest_(lyd_get_value(leaf)) {}

    DataPath read()
    {
        if (rest_ == "/")
            return {};
        for (std::size_t index = 0; !rest_.empty(); ++index) {
            step();
            while (rest_.starts_with('['))
                predicate(index);
        }
        return std::move(path_);
    }

private:
    void step()
    {
        expect('/');
        std::string_view name = take_until("/[");
        if (const std::size_t colon = name.find(':'); colon != std::string_view::npos) {
            module_ = ly_ctx_get_module_implemented(LYD_CTX(leaf_), std::string(name.substr(0, colon)).c_str());
            name.remove_prefix(colon + 1);
        }
        path_.target_ = child(name);
    }

    const lysc_node* child(std::string_view name) const
    {
        const lysc_node* found =
            module_ != nullptr ? lys_find_child(path_.target_, module_, name.data(), name.size(), 0, 0) : nullptr;
        if (found == nullptr)
            refuse(fmt::format("there is no node \"{}\"", name));
        if ((found->nodetype & (LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST | LYS_ANYDATA)) == 0)
            refuse(fmt::format("\"{}\" is no node of the data", name));
        return found;
    }

    void predicate(std::size_t index)
    {
        expect('[');
        const std::string_view name = take_until("=]");
        if (!rest_.starts_with('='))
            refuse(fmt::format("an entry cannot be named by its position [{}]", name));
        expect('=');
        const char quote = rest_.empty() ? '\0' : rest_.front();
        if (quote != '\'' && quote != '"')
            refuse("a value without quotes");
        expect(quote);
        ValueTest test{index, nullptr, std::string(take_until(std::string_view(&quote, 1)))};
        expect(quote);
        expect(']');
        if (name != ".")
            test.key = child(name);
        path_.tests_.push_back(std::move(test));
    }

    std::string_view take_until(std::string_view ends)
    {
        const std::string_view taken = rest_.substr(0, rest_.find_first_of(ends));
        rest_.remove_prefix(taken.size());
        return taken;
    }

    void expect(char c)
    {
        if (!rest_.starts_with(c))
            refuse(fmt::format("'{}' is missing before \"{}\"", c, rest_));
        rest_.remove_prefix(1);
    }

    [[noreturn]] void refuse(const std::string& reason) const
    {
        throw RpcError("invalid-value", instance_path(leaf_),
                       fmt::format("the path {} cannot be used in a rule: {}", lyd_get_value(leaf_), reason));
    }

    const lyd_node* leaf_;
    std::string_view rest_;
    const lys_module* module_ = nullptr;
    DataPath path_;
};

DataPath DataPath::read(const lyd_node* leaf)
{
    return Reader(leaf).read();
}

bool DataPath::reaches(const lysc_node* schema) const
{
    if (target_ == nullptr)
        return true;
    while (schema != nullptr && schema != target_)
        schema = lysc_data_parent(schema);
    return schema != nullptr;
}

bool DataPath::covers(NodeLine line) const
{
    return std::all_of(tests_.begin(), tests_.end(), [&](const ValueTest& test) {
        const lyd_node* node = line[test.index];
        if (test.key != nullptr) {
            node = lyd_child(node);
            while (node != nullptr && node->schema != test.key)
                node = node->next;
        }
        return node != nullptr && test.value == lyd_get_value(node);
    });
}

} // namespace qnips
