// Which texts are edits, what is supplied around them, and how others are refused.
#include "server/edit_request.h"

#include <map>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

constexpr const char* base = "urn:ietf:params:xml:ns:netconf:base:1.0";

std::string rpc(const std::string& content)
{
    return fmt::format("<rpc xmlns='{}' message-id='7'>{}</rpc>", base, content);
}

std::string edit_config(const std::string& content)
{
    return fmt::format("<edit-config xmlns='{}'><target><running/></target>{}</edit-config>", base, content);
}

std::string in_config(const std::string& content)
{
    return fmt::format("<config xmlns='{}'>{}</config>", base, content);
}

EditRequest parsed(const std::string& xml)
{
    return parse_edit_request(engine_schema(), xml);
}

TEST(EditRequest, IsReadFromEveryPartOfARequest)
{
    const std::string edit = top("<single>x</single>");
    for (const std::string& xml :
         {edit, in_config(edit), edit_config(in_config(edit)), rpc(edit_config(in_config(edit))),
          "<?xml version=\"1.0\"?>\n<!-- a comment -->\n" + edit + "\n<!-- another -->\n"}) {
        const EditRequest request = parsed(xml);
        ASSERT_NE(request.edit, nullptr);
        EXPECT_STREQ(node_name(request.edit), "top");
        EXPECT_EQ(request.edit->next, nullptr);
        EXPECT_EQ(request.default_operation, DefaultOperation::merge);
        EXPECT_EQ(request.test_option, TestOption::unstated);
        // The RFC's default is for who writes a request; whoever writes none gets all or nothing.
        const bool is_request = xml.find("edit-config") != std::string::npos;
        EXPECT_EQ(request.error_option, is_request ? ErrorOption::stop_on_error : ErrorOption::rollback_on_error);
    }
}

TEST(EditRequest, KeepsTheOptions)
{
    const EditRequest request =
        parsed(edit_config("<default-operation>none</default-operation><test-option>test-only</test-option>"
                           "<error-option>rollback-on-error</error-option>" +
                           in_config(top(""))));
    EXPECT_EQ(request.default_operation, DefaultOperation::none);
    EXPECT_EQ(request.test_option, TestOption::test_only);
    EXPECT_EQ(request.error_option, ErrorOption::rollback_on_error);
}

TEST(EditRequest, TellsWhatTheClientHasAskedToBeTested)
{
    for (const auto& [word, option] : std::map<std::string, TestOption>{{"test-then-set", TestOption::test_then_set},
                                                                        {"set", TestOption::set},
                                                                        {"test-only", TestOption::test_only}}) {
        const std::string leaf = fmt::format("<test-option>{}</test-option>", word);
        EXPECT_EQ(parsed(edit_config(leaf + in_config(top("")))).test_option, option) << word;
    }
}

TEST(EditRequest, TakesSeveralRoots)
{
    const EditRequest request =
        parsed(in_config(top("") + "<other xmlns='urn:quorin:test:engine'><value>v</value></other>"));
    ASSERT_NE(request.edit->next, nullptr);
    EXPECT_STREQ(node_name(request.edit->next), "other");
}

TEST(EditRequest, TakesAnyEncoding)
{
    const std::string latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                               "<top xmlns=\"urn:quorin:test:engine\"><single>\xe4</single></top>";
    const EditRequest request = parsed(latin1);
    EXPECT_STREQ(lyd_get_value(lyd_child(request.edit)), "\xc3\xa4");
}

TEST(EditRequest, CanBeReadFromATreeThatBelongsToSomebodyElse)
{
    const EditRequest owner = parsed(top("<single>x</single>"));
    const EditRequest view = read_edit_request(owner.rpc.get());
    EXPECT_EQ(view.edit, owner.edit);
    EXPECT_EQ(view.rpc, nullptr);
}

TEST(EditRequest, IsRefusedWithAReason)
{
    struct Case {
        std::string xml;
        const char* error;
    };
    const std::string target = "<target><running/></target>";
    const std::vector<Case> cases = {
        {"", "malformed-message"},
        {" \n\t", "malformed-message"},
        {"top", "malformed-message"},
        {"<top xmlns='urn:quorin:test:engine'>", "malformed-message"},
        {"<!DOCTYPE top [<!ENTITY e 'x'>]>" + top("<single>&e;</single>"), "malformed-message"},
        {"<top/>", "unknown-namespace /top"},
        {"<nothing xmlns='urn:quorin:test:engine'/>", "unknown-namespace /nothing"},
        {fmt::format("<get xmlns='{}'/>", base), "unknown-element /get"},
        {rpc("<get/>"), "operation-not-supported"},
        {rpc(""), "operation-failed"},
        {in_config(""), "missing-element /nc:edit-config/config"},
        {in_config("  \n "), "missing-element /nc:edit-config/config"},
        {in_config("text"), "bad-element /nc:edit-config/config"},
        {edit_config(""), "missing-element /nc:edit-config/config"},
        {rpc("<edit-config>" + in_config(top("")) + "</edit-config>"), "missing-element /nc:edit-config/target"},
        {rpc("<edit-config><target/>" + in_config(top("")) + "</edit-config>"),
         "missing-element /nc:edit-config/target"},
        {rpc("<edit-config><target><candidate/></target>" + in_config(top("")) + "</edit-config>"),
         "operation-not-supported /nc:edit-config/target"},
        {rpc("<edit-config><target><elsewhere/></target>" + in_config(top("")) + "</edit-config>"),
         "unknown-element /nc:edit-config/target"},
        {edit_config("<default-operation>create</default-operation>" + in_config(top(""))),
         "bad-element /nc:edit-config/default-operation"},
        {edit_config("<surprise/>" + in_config(top(""))), "unknown-element /nc:edit-config"},
        {top("<settings nc:operation='destroy'/>"), "bad-attribute /et:top/settings"},
        {in_config(top("<settings nc:operation='destroy'/>")), "bad-attribute /et:top/settings"},
        {rpc(edit_config(in_config(top("<settings nc:operation='destroy'/>")))), "bad-attribute /et:top/settings"},
        {in_config(top("<settings operation='delete'/>")), "unknown-attribute /et:top/settings"},
        {in_config("<top xmlns='urn:quorin:test:engine' operation='delete'/>"), "unknown-attribute /et:top"},
        {fmt::format("<config xmlns='{}' operation='replace'>{}</config>", base, top("")),
         "unknown-attribute /nc:edit-config/config"},
        {fmt::format("<config xmlns='{}' xmlns:nc='{}' nc:operation='replace'>{}</config>", base, base, top("")),
         "unknown-attribute /nc:edit-config/config"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(error_of([&] { parsed(test.xml); }), test.error) << test.xml;
}

TEST(EditRequest, NamesLineAndColumnOfWhatIsNoXml)
{
    try {
        parsed("<top xmlns='urn:quorin:test:engine'>\n  <single>x</singel>\n</top>");
        FAIL() << "accepted";
    } catch (const RpcError& error) {
        EXPECT_NE(std::string(error.what()).find("line 2, column "), std::string::npos) << error.what();
    }
}

} // namespace
} // namespace qnips::test
