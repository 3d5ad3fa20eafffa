// Random edits, held against the plain model and against libyang's validation of the whole tree.
#include <map>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"
#include "random_edit.h"
#include "server/edit_text.h"
#include "server/touched_nodes.h"

namespace qnips::test
{
namespace
{

constexpr int rounds_per_seed = 250;

struct World {
    const char* name;
    const YangSchema& (*schema)();
};

const YangSchema& product_schema()
{
    static const YangSchema schema({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR});
    return schema;
}

void collect_lists(const YangSchema& schema, const lysc_node* parent, SchemaNodeSet& lists)
{
    const lysc_node* node = nullptr;
    while ((node = lys_getnext(node, parent, schema.module()->compiled, 0)) != nullptr) {
        if ((node->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0)
            lists.insert(node);
        if ((node->nodetype & (LYS_LIST | LYS_CONTAINER)) != 0)
            collect_lists(schema, node, lists);
    }
}

// All that the walk shows of a view when no list is too long for it.
Config seen(const AppliedEdit& edit, View view, const SchemaNodeSet& lists)
{
    ConfigNode root;
    std::vector<ConfigNode> open{root};
    const ScopeRules rules{.watched = &lists};
    walk_scope(
        edit.changes(), view, rules,
        [&](const lyd_node* node, const Change* change) {
            const bool old = view == View::before && change != nullptr && change->is(XMLDIFF_MOD);
            const bool term = (node->schema->nodetype & LYD_NODE_TERM) != 0;
            open.push_back({node->schema, old ? change->old_value : term ? lyd_get_value(node) : "", {}});
        },
        [&](const lyd_node*) {
            ConfigNode done = std::move(open.back());
            open.pop_back();
            open.back().children.push_back(std::move(done));
        });
    return open.front().children;
}

std::set<std::string> moved_paths(const std::vector<std::string>& lines)
{
    std::set<std::string> paths;
    for (const std::string& line : lines)
        if (line.starts_with("SIBLING"))
            paths.insert(line.substr(line.find(' ') + 1));
    return paths;
}

class RandomEdits : public testing::TestWithParam<World>
{
protected:
    void run(unsigned seed, int rounds)
    {
        RandomEdit random(schema_, seed);
        std::mt19937 operations(seed); // NOLINT(cert-msc51-cpp): the same edits in each run
        for (int round = 0; round < rounds && !HasFailure(); ++round) {
            static constexpr std::pair<const char*, EditOperation> defaults[] = {{"merge", EditOperation::merge},
                                                                                 {"merge", EditOperation::merge},
                                                                                 {"none", EditOperation::none},
                                                                                 {"replace", EditOperation::replace}};
            const auto& [word, operation] = defaults[operations() % 4];
            EditModel edit = random.edit(config_of(tree_.first()), operation);
            // Roots that come again go over the same ground: what was created may go, what has gone may come back.
            if (operations() % 3 == 0)
                for (EditModelNode& root : random.edit(config_of(tree_.first()), operation))
                    edit.push_back(std::move(root));
            if (!edit.empty())
                try_edit(word, operation, edit);
        }
    }

    void try_edit(const char* word, EditOperation operation, const EditModel& edit)
    {
        const std::string xml = xml_of(edit);
        SCOPED_TRACE(fmt::format("{} {}\non {}", word, xml, text_of(tree_)));
        const Config before = config_of(tree_.first());
        const std::string original = exact_text_of(tree_);
        std::string refusal;
        Config expected;
        try {
            expected = apply(before, edit, operation);
        } catch (const ModelRefusal& error) {
            refusal = error.what();
        }

        const EditRequest request = request_in(word, xml);
        const ConfigTree old = copy_of(tree_);
        const std::string error = error_of([&] {
            const AppliedEdit applied(tree_, request);
            check_applied(applied, before, expected);
            check_written(applied, old, expected);
        });
        // Of several reasons the first one met counts, and libyang puts the nodes of an edit in schema order.
        if (error.starts_with("bad-element") && refusal.empty())
            return; // of the roots one creates what excludes the other's: the model takes that for a change of mind
        EXPECT_EQ(error.empty(), refusal.empty()) << "engine: " << error << "\nmodel: " << refusal;
        EXPECT_EQ(exact_text_of(tree_), original);
        ++(refusal.empty() ? applied_ : refused_);
        if (refusal.empty())
            keep_if_valid(request, expected);
    }

    EditRequest request_in(const char* operation, const std::string& xml) const
    {
        return parse_edit_request(schema_,
                                  fmt::format(R"(<edit-config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)"
                                              "<target><running/></target><default-operation>{}</default-operation>"
                                              "<config>{}</config></edit-config>",
                                              operation, xml));
    }

    void check_applied(const AppliedEdit& applied, const Config& before, const Config& expected)
    {
        const std::vector<std::string> lines = lines_of(applied.changes());
        EXPECT_EQ(lines, difference(before, expected, moved_paths(lines)));
        if (applied.changes().empty())
            return;
        EXPECT_EQ(canonical(seen(applied, View::before, lists_)), canonical(before));
        EXPECT_EQ(canonical(seen(applied, View::after, lists_)), canonical(expected));
    }

    // What outlives the edit: its text does the same to the old configuration, its touched nodes are all that differs.
    void check_written(const AppliedEdit& applied, const ConfigTree& old, const Config& expected)
    {
        const std::string text = edit_text(applied.changes());
        EXPECT_EQ(text.empty(), applied.changes().empty());
        if (text.empty())
            return;
        ConfigTree other = copy_of(old);
        const EditRequest request = parse_edit_request(schema_, text);
        AppliedEdit(other, request).commit();
        EXPECT_EQ(canonical(config_of(other.first())), canonical(expected)) << text;
        const ConfigTree overlaid = TouchedNodes(applied.changes()).overlaid(old, other);
        EXPECT_EQ(canonical(config_of(overlaid.first())), canonical(expected)) << text;
        for (const Change* root : applied.changes().roots())
            check_paths(*root);
    }

    static void check_paths(const Change& change)
    {
        EXPECT_EQ(change.path(), instance_path(change.node));
        for (const Change* child : change.children)
            check_paths(*child);
    }

    void keep_if_valid(const EditRequest& request, const Config& expected)
    {
        AppliedEdit applied(tree_, request);
        const std::string closure = error_of([&] { validate_edit(rules_, applied.changes()); });
        applied.commit();
        EXPECT_EQ(canonical(config_of(tree_.first())), canonical(expected));
        const std::string whole = error_of([&] { validate_tree(schema_, tree_); });
        EXPECT_EQ(closure.empty(), whole.empty()) << "closure: " << closure << "\nwhole: " << whole;
        if (whole.empty()) {
            ++valid_;
            valid_text_ = text_of(tree_);
            return;
        }
        ++invalid_;
        // Closures only speak for trees that were valid before.
        tree_ = ConfigTree(schema_.parse_configuration(valid_text_));
    }

    const YangSchema& schema_ = GetParam().schema();
    ValidationRules rules_{schema_};
    SchemaNodeSet lists_ = [this] {
        SchemaNodeSet lists;
        collect_lists(schema_, nullptr, lists);
        return lists;
    }();
    ConfigTree tree_;
    std::string valid_text_;
    int applied_ = 0;
    int refused_ = 0;
    int valid_ = 0;
    int invalid_ = 0;
};

TEST_P(RandomEdits, AgreeWithTheModelAndWithTheValidationOfTheWholeTree)
{
    for (unsigned seed = 1; seed <= 4 && !HasFailure(); ++seed)
        run(seed, rounds_per_seed);
    // The edits are only worth something if all kinds come up.
    EXPECT_GT(applied_, 100);
    EXPECT_GT(refused_, 20);
    EXPECT_GT(valid_, 40);
    EXPECT_GT(invalid_, 20);
    RecordProperty("applied", applied_);
    RecordProperty("refused", refused_);
    RecordProperty("valid", valid_);
    RecordProperty("invalid", invalid_);
}

INSTANTIATE_TEST_SUITE_P(Modules, RandomEdits,
                         testing::Values(World{"engine", engine_schema}, World{"product", product_schema}),
                         [](const auto& world) { return std::string(world.param.name); });

} // namespace
} // namespace qnips::test
