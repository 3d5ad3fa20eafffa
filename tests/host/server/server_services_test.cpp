// What a callback can ask the server for: operations of nodes around the changed one, and values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "services_fixture.h"
#include "transapi/transapi.h"

namespace qnips::test
{
namespace
{

constexpr XMLDIFF_OP absent = XMLDIFF_ERR;

// ------------------------------------------------------------------------------------------------- operations --

struct AncestorCase {
    std::string path;
    int level;
    int op;
};

TEST_F(Services, AncestorsAnswerWithTheirOperationByLevel)
{
    const AncestorCase cases[] = {
        {description_a, 0, XMLDIFF_MOD},   {description_a, 1, XMLDIFF_CHAIN}, {description_a, 2, XMLDIFF_CHAIN},
        {description_a, 3, XMLDIFF_CHAIN}, {description_a, 5, XMLDIFF_CHAIN}, {description_a, 6, XMLDIFF_NONE},
        {description_a, 99, XMLDIFF_NONE}, {description_b, 0, XMLDIFF_REM},   {description_b, 1, XMLDIFF_REM},
        {description_b, 2, XMLDIFF_CHAIN}, {action_a, 1, XMLDIFF_CHAIN},      {action_a, 2, XMLDIFF_CHAIN},
    };
    for (const AncestorCase& test : cases) {
        for (const Phase phase : {Phase::removal, Phase::set}) {
            SCOPED_TRACE(test.path + " level " + std::to_string(test.level));
            call(test.path, phase, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
                EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, test.level), test.op);
                return 0;
            });
        }
    }
}

TEST_F(Services, SiblingsAnswerWithTheirOperationUnchangedOnesWithNoneMissingOnesWithAllBits)
{
    call(description_a, Phase::set, [](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        const auto sibling = [&](int level, const char* name) {
            return priority_transapi_find_bro_op_by_xmldiff(data, level, mutable_text(name));
        };
        EXPECT_EQ(sibling(1, "description"), XMLDIFF_MOD) << "the node itself";
        EXPECT_EQ(sibling(1, "associated-check-enable"), XMLDIFF_ADD);
        EXPECT_EQ(sibling(1, "command-and-control-domain-filter"), XMLDIFF_CHAIN);
        EXPECT_EQ(sibling(1, "collect-attack-evidence-enable"), XMLDIFF_NONE);
        EXPECT_EQ(sibling(1, "name"), XMLDIFF_NONE);
        EXPECT_EQ(sibling(1, "signature-sets"), absent);
        EXPECT_EQ(sibling(1, "descriptio"), absent);
        EXPECT_EQ(sibling(3, "ips-enable"), XMLDIFF_NONE);
        EXPECT_EQ(sibling(3, "profiles"), XMLDIFF_CHAIN);
        EXPECT_EQ(sibling(99, "name"), absent);
        return 0;
    });
    call(description_b, Phase::removal, [](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(priority_transapi_find_bro_op_by_xmldiff(data, 1, mutable_text("name")), XMLDIFF_REM);
        return 0;
    });
}

TEST_F(Services, ChildrenOfTheNodeAndOfItsAncestorsAnswerWithTheirOperation)
{
    call(profile_a, Phase::set, [](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        const auto child = [&](int level, const char* name) {
            return priority_transapi_find_parent_children_op_by_xmldiff(data, level, mutable_text(name));
        };
        EXPECT_EQ(child(0, "description"), XMLDIFF_MOD);
        EXPECT_EQ(child(0, "name"), XMLDIFF_NONE);
        EXPECT_EQ(child(0, "signature-sets"), absent);
        EXPECT_EQ(child(1, "profile"), XMLDIFF_CHAIN);
        EXPECT_EQ(child(2, "ips-enable"), XMLDIFF_NONE);
        EXPECT_EQ(child(2, "user-defined-signatures"), absent);
        return 0;
    });
}

// The services go by the context that the callback was given, not by what happens to be current.
TEST_F(Services, OperationsOfNothingWithoutAContext)
{
    void* null_context = nullptr;
    for (void** data : {static_cast<void**>(nullptr), &null_context}) {
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 1), XMLDIFF_NONE);
        EXPECT_EQ(priority_transapi_find_bro_op_by_xmldiff(data, 1, mutable_text("name")), absent);
        EXPECT_EQ(priority_transapi_find_parent_children_op_by_xmldiff(data, 1, mutable_text("name")), absent);
    }
}

TEST_F(Services, OperationsOfNothingBetweenTwoCallbacks)
{
    CallbackSession session(platform_);
    void* context = &session;
    call(session, description_a, Phase::set, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(*data, context);
        return 0;
    });
    EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(&context, 1), XMLDIFF_NONE);
    EXPECT_EQ(priority_transapi_find_bro_op_by_xmldiff(&context, 1, mutable_text("name")), absent);
}

TEST_F(Services, HandlersOperationIsTheServersOperation)
{
    for (const int op :
         {XMLDIFF_NONE + 0, XMLDIFF_ADD + 0, XMLDIFF_SIBLING | XMLDIFF_CHAIN, XMLDIFF_ADD | XMLDIFF_CFGR})
        EXPECT_EQ(transapi_transform_op(static_cast<XMLDIFF_OP>(op)), op);
}

// Both choices of a rule change their case.
class ChoiceServices : public Services
{
protected:
    static std::string rule(const std::string& content)
    {
        return branch("<user-defined-signatures><signature><id>7</id>"
                      "<associated-enable>false</associated-enable><signature-rule-information><protocol-rules>"
                      "<protocol>HTTP</protocol><rules><signature-rule><name>r</name>" +
                      content +
                      "</signature-rule></rules></protocol-rules></signature-rule-information></signature>"
                      "</user-defined-signatures>");
    }

    ChoiceServices()
        : Services(rule("<source-ip-range><start-ip>10.0.0.1</start-ip><end-ip>10.0.0.9</end-ip></source-ip-range>"
                        "<destination-ip>10.0.0.1</destination-ip>"),
                   rule("<source-ip>10.0.0.1</source-ip><destination-ip-range><start-ip>10.0.0.1</start-ip>"
                        "<end-ip>10.0.0.9</end-ip></destination-ip-range>"))
    {
    }

    const std::string rule_ = "user-defined-signatures/signature[id='7']/signature-rule-information/protocol-rules/"
                              "rules/signature-rule[name='r']";
};

TEST_F(ChoiceServices, OneCaseExistsInEachPhase)
{
    const auto sibling = [](void** data, const char* name) {
        return priority_transapi_find_bro_op_by_xmldiff(data, 1, mutable_text(name));
    };
    call(rule_ + "/destination-ip", Phase::removal, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(sibling(data, "source-ip"), absent) << "comes with the edit";
        EXPECT_EQ(sibling(data, "source-ip-range"), XMLDIFF_REM);
        return 0;
    });
    call(rule_ + "/destination-ip-range", Phase::set, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(sibling(data, "source-ip"), XMLDIFF_ADD);
        EXPECT_EQ(sibling(data, "source-ip-range"), absent) << "has gone with the edit";
        return 0;
    });
}

// The protocol changes and with it the whole container is replaced; one rule comes and one goes meanwhile.
class ReplacedServices : public Services
{
protected:
    static std::string rules(const std::string& content)
    {
        return branch("<user-defined-signatures><signature><id>7</id>"
                      "<associated-enable>false</associated-enable><name>s</name><signature-rule-information>"
                      "<protocol-rules>" +
                      content + "</protocol-rules></signature-rule-information></signature></user-defined-signatures>");
    }

    ReplacedServices()
        : Services(rules("<protocol>HTTP</protocol><rules><signature-rule><name>r</name><scope>flow</scope>"
                         "</signature-rule></rules>"),
                   rules("<protocol>DNS</protocol><rules><signature-rule><name>r</name>"
                         "<scope nc:operation='delete'/><sequence>sequential</sequence></signature-rule></rules>"))
    {
    }

    const std::string container_ =
        "user-defined-signatures/signature[id='7']/signature-rule-information/protocol-rules";
    const std::string rule_ = container_ + "/rules/signature-rule[name='r']";
};

TEST_F(ReplacedServices, AncestorsGoInTheRemovalPhaseAndComeInTheSetPhase)
{
    call(rule_ + "/name", Phase::removal, [](void** data, XMLDIFF_OP op, xmlNodePtr, nc_err**) {
        EXPECT_EQ(op, XMLDIFF_REM);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 1), XMLDIFF_REM);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 3), XMLDIFF_REM);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 4), XMLDIFF_CHAIN);
        return 0;
    });
    call(rule_ + "/name", Phase::set, [](void** data, XMLDIFF_OP op, xmlNodePtr, nc_err**) {
        EXPECT_EQ(op, XMLDIFF_ADD);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 1), XMLDIFF_ADD);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 3), XMLDIFF_ADD);
        EXPECT_EQ(priority_transapi_find_parent_op_by_xmldiff(data, 4), XMLDIFF_CHAIN);
        return 0;
    });
}

// Of what is replaced, only that exists which the phase's document shows.
TEST_F(ReplacedServices, SiblingsOfTheOtherPhaseDoNotExist)
{
    const auto sibling = [](void** data, const char* name) {
        return priority_transapi_find_bro_op_by_xmldiff(data, 1, mutable_text(name));
    };
    call(rule_ + "/name", Phase::removal, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(sibling(data, "scope"), XMLDIFF_REM);
        EXPECT_EQ(sibling(data, "sequence"), absent) << "comes with the edit";
        return 0;
    });
    call(rule_ + "/name", Phase::set, [&](void** data, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(sibling(data, "sequence"), XMLDIFF_ADD);
        EXPECT_EQ(sibling(data, "scope"), absent) << "has gone with the edit";
        return 0;
    });
}

// ----------------------------------------------------------------------------------------------------- values --

struct KeyCase {
    int level;
    const char* name;
    const char* text; // null: none
};

TEST_F(Services, LeavesOfTheNodeAndOfItsAncestorsAreFoundByLevel)
{
    static constexpr KeyCase cases[] = {
        {0, "name", nullptr}, // a leaf has no children
        {1, "action", "block"},    {1, "domain-filter-enable", "true"},
        {1, "name", nullptr},      {2, "name", "a"},
        {2, "description", "new"}, {2, "signature-sets", nullptr},
        {3, "name", nullptr},      {4, "name", "branch"},
        {4, "ips-enable", "true"}, {4, "profiles", nullptr}, // no leaf: no text of its own
        {6, "name", nullptr},      {7, "name", nullptr},     // the document
        {8, "name", nullptr},      {99, "name", nullptr},
    };
    xmlNode* leaf = node(action_a, View::after);
    for (const KeyCase& test : cases) {
        SCOPED_TRACE(std::string(test.name) + " at level " + std::to_string(test.level));
        EXPECT_STREQ(priority_transapi_find_parent_key_node_content(test.level, leaf, mutable_text(test.name)),
                     test.text);
    }
    EXPECT_STREQ(priority_transapi_find_parent_key_node_content(0, node(profile_a, View::after), mutable_text("name")),
                 "a");
    EXPECT_EQ(priority_transapi_find_parent_key_node_content(0, nullptr, mutable_text("name")), nullptr);
}

TEST_F(Services, LookUpsShowTheValuesOfThePhase)
{
    EXPECT_STREQ(priority_transapi_find_parent_key_node_content(1, node(description_a, View::before),
                                                                mutable_text("description")),
                 "old");
    EXPECT_STREQ(get_node_content(node(description_a, View::before)), "old");
    EXPECT_STREQ(get_node_content(node(description_a, View::after)), "new");
    EXPECT_STREQ(get_node_content(node(description_b, View::before)), "b");
}

TEST(ElementText, IsNullForAnElementWithoutText)
{
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadDoc(reinterpret_cast<const xmlChar*>("<a><empty/><also></also><!--c--><full>x</full><b><c/></b></a>"),
                   nullptr, nullptr, 0),
        xmlFreeDoc);
    xmlNode* root = xmlDocGetRootElement(document.get());
    const auto child_text = [&](const char* name) {
        return priority_transapi_find_parent_key_node_content(0, root, mutable_text(name));
    };
    EXPECT_EQ(child_text("empty"), nullptr);
    EXPECT_EQ(child_text("also"), nullptr);
    EXPECT_EQ(child_text("b"), nullptr);
    EXPECT_STREQ(child_text("full"), "x");
    EXPECT_EQ(get_node_content(nullptr), nullptr);
    EXPECT_EQ(get_node_content(root), nullptr);
    EXPECT_EQ(get_node_content(root->children), nullptr);
    EXPECT_STREQ(get_node_content(root->last->prev), "x");
}

TEST(Reply, IsReleasedAndItsSlotCleared)
{
    void* reply = std::malloc(16);
    SOS_Free(&reply, mutable_text(__FILE__), __LINE__);
    EXPECT_EQ(reply, nullptr);
    SOS_Free(&reply, nullptr, 0);
    EXPECT_EQ(reply, nullptr);
    SOS_Free(nullptr, nullptr, 0);
}

TEST(DatastoreFunctions, RefuseWhoeverCallsThemFromOutside)
{
    nc_err* error = nullptr;
    EXPECT_NE(custom_init(nullptr), 0);
    custom_free(nullptr);
    EXPECT_EQ(custom_changed(nullptr), 0);
    EXPECT_NE(custom_rollback(nullptr), 0);
    EXPECT_NE(custom_lock(nullptr, NC_DATASTORE_RUNNING, "1", &error), 0);
    EXPECT_NE(custom_unlock(nullptr, NC_DATASTORE_RUNNING, "1", &error), 0);
    EXPECT_EQ(custom_getconfig(nullptr, NC_DATASTORE_RUNNING, &error), nullptr);
    EXPECT_NE(custom_copyconfig(nullptr, NC_DATASTORE_RUNNING, NC_DATASTORE_STARTUP, nullptr, &error), 0);
    EXPECT_NE(custom_deleteconfig(nullptr, NC_DATASTORE_STARTUP, &error), 0);
    EXPECT_NE(custom_editconfig(nullptr, NC_DATASTORE_RUNNING, "", NC_EDIT_DEFOP_MERGE, NC_EDIT_ERROPT_STOP, &error),
              0);
    EXPECT_EQ(error, nullptr);
}

} // namespace
} // namespace qnips::test
