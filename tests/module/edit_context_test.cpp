// Where a changed node belongs: names and identifiers read from its ancestors, and what is refused of them.
#include "quorin-intrusion-prevention-core/commands/edit_context.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

static_assert(sizeof(IPS_VSYS_NAME_INFO) == 132 && sizeof(IPS_PRO_NAME_INFO) == 260 && sizeof(IPS_SIG_ID_INFO) == 260);

struct Filled {
    CallResult call;
    std::string name; // of the profile, or the signature's id
    std::string vsys;
};

class EditContext : public ServerTest
{
protected:
    EditContext() { server.fail_result = 42; }

    Filled vsys_name(const std::string& xml, int level)
    {
        IPS_VSYS_NAME_INFO record{};
        record.curVsysLevel = level;
        const CallResult r = server.run(xml, "//leaf", [&](API_ENV_S* env) { return Get_VsysName(env, &record); });
        EXPECT_EQ(record.curVsysLevel, level);
        return {r, "", record.acVsysName};
    }

    Filled profile_name(const std::string& xml, int level)
    {
        IPS_PRO_NAME_INFO record{};
        record.curProLevel = level;
        const CallResult r =
            server.run(xml, "//leaf", [&](API_ENV_S* env) { return Get_VsysName_And_ProfileName(env, &record); });
        EXPECT_EQ(record.curProLevel, level);
        return {r, record.acProfileName, record.acVsysName};
    }

    Filled signature_id(const std::string& xml, int level)
    {
        IPS_SIG_ID_INFO record{};
        record.curSigLevel = level;
        const CallResult r =
            server.run(xml, "//leaf", [&](API_ENV_S* env) { return Get_VsysName_And_SignatureID(env, &record); });
        EXPECT_EQ(record.curSigLevel, level);
        return {r, record.acSignatureID, record.acVsysName};
    }

    static std::string in_profile_xml(std::string_view vsys, std::string_view profile)
    {
        return nested(in_profile(vsys, profile), "<leaf/>");
    }

    static std::string in_signature_xml(std::string_view vsys, std::string_view id)
    {
        return nested(in_signature(vsys, id), "<leaf/>");
    }

    static void expect_refused(const Filled& filled, NC_ERR code, const std::string& message)
    {
        EXPECT_EQ(filled.call.result, 42);
        EXPECT_EQ(filled.call.errors, (ClientErrors{{code, message}}));
        EXPECT_EQ(filled.name, "");
        EXPECT_EQ(filled.vsys, "");
    }
};

// ------------------------------------------------------------------------------------------------------------- vsys --

TEST_F(EditContext, VsysNameComesFromItsLevel)
{
    const Filled filled = vsys_name(nested(in_vsys("branch") / Step{"profiles"}, "<leaf/>"), 2);
    EXPECT_TRUE(filled.call.quiet());
    EXPECT_EQ(filled.vsys, "branch");
    EXPECT_EQ(filled.call.key_lookups, (std::vector<KeyLookup>{{2, "name"}}));
}

TEST_F(EditContext, VsysNameOf127CharactersIsAcceptedAndOf128Refused)
{
    const std::string longest(127, 'v');
    EXPECT_EQ(vsys_name(nested(in_vsys(longest), "<leaf/>"), 1).vsys, longest);
    expect_refused(vsys_name(nested(in_vsys(longest + 'v'), "<leaf/>"), 1), NC_ERR_MISSING_ELEM,
                   "Get an error vsys name.");
}

TEST_F(EditContext, VsysNameThatIsMissingOrEmptyIsRefused)
{
    expect_refused(vsys_name("<vsys><leaf/></vsys>", 1), NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    expect_refused(vsys_name("<vsys><name/><leaf/></vsys>", 1), NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    expect_refused(vsys_name("<vsys><name text=''/><leaf/></vsys>", 1), NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    expect_refused(vsys_name(nested(in_vsys("branch"), "<leaf/>"), 5), NC_ERR_MISSING_ELEM, "Get an error vsys name.");
}

// The name alone is not judged: a vsys is not created here.
TEST_F(EditContext, VsysNameIsTrimmedAndNotChecked)
{
    EXPECT_EQ(vsys_name(nested(in_vsys("  branch "), "<leaf/>"), 1).vsys, "branch");
    EXPECT_EQ(vsys_name(nested(in_vsys("a? b"), "<leaf/>"), 1).vsys, "a? b");
    const Filled blanks = vsys_name(nested(in_vsys("   "), "<leaf/>"), 1);
    EXPECT_TRUE(blanks.call.quiet());
    EXPECT_EQ(blanks.vsys, "");
}

TEST_F(EditContext, VsysFaultIsPrintedWithTwoFullStops)
{
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        EXPECT_EQ(vsys_name("<vsys><leaf/></vsys>", 1).call.output,
                  setting.messages ? "[IPS]ERROR: Get an error vsys name..\r\n\r\n" : "");
    }
}

// ---------------------------------------------------------------------------------------------------------- profile --

TEST_F(EditContext, ProfileAndVsysStandTwoLevelsApart)
{
    const Filled leaf = profile_name(in_profile_xml("branch", "webguard"), 1);
    EXPECT_TRUE(leaf.call.quiet());
    EXPECT_EQ(leaf.name, "webguard");
    EXPECT_EQ(leaf.vsys, "branch");
    EXPECT_EQ(leaf.call.key_lookups, (std::vector<KeyLookup>{{3, "name"}, {1, "name"}}));

    const Filled deeper = profile_name(
        nested(in_profile("branch", "webguard") / Step{"signature-sets"} / Step{"signature-set"}, "<leaf/>"), 3);
    EXPECT_EQ(deeper.name, "webguard");
    EXPECT_EQ(deeper.vsys, "branch");
}

TEST_F(EditContext, ProfileNamesOf127CharactersAreAcceptedAndOf128Refused)
{
    const std::string longest(127, 'n');
    const Filled both = profile_name(in_profile_xml(longest, longest), 1);
    EXPECT_EQ(both.name, longest);
    EXPECT_EQ(both.vsys, longest);
    expect_refused(profile_name(in_profile_xml(longest + 'n', "webguard"), 1), NC_ERR_MISSING_ELEM,
                   "Get an error vsys name.");
    expect_refused(profile_name(in_profile_xml("branch", longest + 'n'), 1), NC_ERR_MISSING_ELEM,
                   "Get an error profile name.");
}

TEST_F(EditContext, ProfileNameWithASpaceInsideIsAccepted)
{
    const Filled filled = profile_name(in_profile_xml("head office", "web guard"), 1);
    EXPECT_EQ(filled.name, "web guard");
    EXPECT_EQ(filled.vsys, "head office");
}

struct Fault {
    const char* name;
    std::string xml;
    NC_ERR code;
    std::string message;
    std::string before{}; // debug lines of the checks that ran before
};

std::string faulty(const std::string& vsys, const std::string& list, const std::string& entry, const std::string& key)
{
    return "<vsys>" + vsys + '<' + list + "><" + entry + '>' + key + "<leaf/></" + entry + "></" + list + "></vsys>";
}

std::string profile_fault(const std::string& vsys, const std::string& profile)
{
    return faulty(vsys, "profiles", "profile", profile);
}

std::string signature_fault(const std::string& vsys, const std::string& signature)
{
    return faulty(vsys, "user-defined-signatures", "signature", signature);
}

const std::string question_mark = "[IPS]ERROR: '?' is in the current value.\r\n\r\n";

TEST_F(EditContext, ProfileFaultsAreToldByCodeTextAndDebugLine)
{
    const std::vector<Fault> faults = {
        {"no vsys", profile_fault("", "<name>p</name>"), NC_ERR_MISSING_ELEM, "Get an error vsys name."},
        {"no profile", profile_fault("<name>v</name>", ""), NC_ERR_MISSING_ELEM, "Get an error profile name."},
        {"neither", profile_fault("", ""), NC_ERR_MISSING_ELEM, "Get an error vsys name."},
        {"empty profile", profile_fault("<name>v</name>", "<name text=''/>"), NC_ERR_MISSING_ELEM,
         "Get an error profile name."},
        {"blank before vsys", profile_fault("<name> v</name>", "<name>p</name>"), NC_ERR_INVALID_VALUE,
         "Invalid vsys-system name, because of spaces."},
        {"blank behind profile", profile_fault("<name>v</name>", "<name>p </name>"), NC_ERR_INVALID_VALUE,
         "Invalid profile name, because of spaces."},
        {"both blank", profile_fault("<name> v</name>", "<name> p</name>"), NC_ERR_INVALID_VALUE,
         "Invalid vsys-system name, because of spaces."},
        {"marked vsys", profile_fault("<name>v?</name>", "<name>p</name>"), NC_ERR_INVALID_VALUE,
         "Invalid vsys-system name, because of spaces.", question_mark},
        {"marked profile", profile_fault("<name>v</name>", "<name>?p</name>"), NC_ERR_INVALID_VALUE,
         "Invalid profile name, because of spaces.", question_mark},
    };
    for (const Fault& fault : faults) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(fault.name);
            const DebugSwitches switches(setting);
            const Filled filled = profile_name(fault.xml, 1);
            expect_refused(filled, fault.code, fault.message);
            EXPECT_EQ(filled.call.output,
                      setting.messages ? fault.before + "[IPS]ERROR: " + fault.message + "\r\n\r\n" : "");
        }
    }
}

// -------------------------------------------------------------------------------------------------------- signature --

TEST_F(EditContext, SignatureAndVsysStandTwoLevelsApart)
{
    const Filled filled = signature_id(in_signature_xml("branch", "17"), 1);
    EXPECT_TRUE(filled.call.quiet());
    EXPECT_EQ(filled.name, "17");
    EXPECT_EQ(filled.vsys, "branch");
    EXPECT_EQ(filled.call.key_lookups, (std::vector<KeyLookup>{{3, "name"}, {1, "id"}}));
}

TEST_F(EditContext, SignatureIdKeepsItsText)
{
    EXPECT_EQ(signature_id(in_signature_xml("branch", "0017"), 1).name, "0017");
    EXPECT_EQ(signature_id(in_signature_xml("branch", "1"), 1).name, "1");
    EXPECT_EQ(signature_id(in_signature_xml("branch", "1024"), 1).name, "1024");
    EXPECT_EQ(signature_id(in_signature_xml("branch", "5 x"), 1).name, "5 x");
    const std::string longest = std::string(62, '0') + '7';
    EXPECT_EQ(signature_id(in_signature_xml("branch", longest), 1).name, longest);
}

TEST_F(EditContext, SignatureFaultsAreAllMissingElements)
{
    const std::string vsys = "<name>v</name>";
    const std::string wrong_id = "[IPS]ERROR: The signature id is wrong.\r\n\r\n";
    const std::vector<Fault> faults = {
        {"no vsys", signature_fault("", "<id>1</id>"), NC_ERR_MISSING_ELEM, "Get an error vsys name."},
        {"long vsys", signature_fault(leaf("name", std::string(128, 'v')), "<id>1</id>"), NC_ERR_MISSING_ELEM,
         "Get an error vsys name."},
        {"no id", signature_fault(vsys, ""), NC_ERR_MISSING_ELEM, "Get an error signature-id."},
        {"empty id", signature_fault(vsys, "<id/>"), NC_ERR_MISSING_ELEM, "Get an error signature-id."},
        {"id of 64 characters", signature_fault(vsys, leaf("id", std::string(63, '0') + '1')), NC_ERR_MISSING_ELEM,
         "Get an error signature-id."},
        {"blank vsys", signature_fault("<name>v </name>", "<id>1</id>"), NC_ERR_MISSING_ELEM,
         "Invalid vsys-system name, because of spaces."},
        {"blank id", signature_fault(vsys, "<id> 1</id>"), NC_ERR_MISSING_ELEM,
         "Invalid signature-id, because of spaces."},
        {"marked id", signature_fault(vsys, "<id>1?</id>"), NC_ERR_MISSING_ELEM,
         "Invalid signature-id, because of spaces.", question_mark},
        {"id 0", signature_fault(vsys, "<id>0</id>"), NC_ERR_MISSING_ELEM,
         "Invalid signature-id, because of range(<1-1024>).", wrong_id},
        {"id 1025", signature_fault(vsys, "<id>1025</id>"), NC_ERR_MISSING_ELEM,
         "Invalid signature-id, because of range(<1-1024>).", wrong_id},
        {"id without digits", signature_fault(vsys, "<id>x</id>"), NC_ERR_MISSING_ELEM,
         "Invalid signature-id, because of range(<1-1024>).", wrong_id},
    };
    for (const Fault& fault : faults) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(fault.name);
            const DebugSwitches switches(setting);
            const Filled filled = signature_id(fault.xml, 1);
            expect_refused(filled, fault.code, fault.message);
            EXPECT_EQ(filled.call.output,
                      setting.messages ? fault.before + "[IPS]ERROR: " + fault.message + "\r\n\r\n" : "");
        }
    }
}

// ----------------------------------------------------------------------------------------------------------- nature --

using Judge = int (*)(API_ENV_S*, int);

struct NatureCase {
    std::string nature; // as an element; empty: absent
    bool basic;
    bool associated;
};

TEST_F(EditContext, NatureIsTakenLiterally)
{
    const std::vector<NatureCase> cases = {
        {"<associated-enable>true</associated-enable>", false, true},
        {"<associated-enable>false</associated-enable>", true, false},
        {"<associated-enable>TRUE</associated-enable>", true, true},
        {"<associated-enable>FALSE</associated-enable>", true, true},
        {"<associated-enable>true </associated-enable>", true, true},
        {"<associated-enable>1</associated-enable>", true, true},
    };
    for (const NatureCase& test : cases) {
        SCOPED_TRACE(test.nature);
        const std::string xml = "<signature>" + test.nature + "<rule><leaf/></rule></signature>";
        const CallResult basic =
            server.run(xml, "//leaf", [](API_ENV_S* env) { return Judge_UDBasicSig_By_SigNature(env, 2); });
        EXPECT_EQ(basic.result, test.basic ? 0 : 42);
        EXPECT_EQ(basic.errors, test.basic ? ClientErrors{}
                                           : (ClientErrors{{NC_ERR_BAD_ELEM, "The nature is associated, the operation "
                                                                             "is not supported."}}));
        const CallResult associated =
            server.run(xml, "//leaf", [](API_ENV_S* env) { return Judge_UDAssocSig_By_SigNature(env, 2); });
        EXPECT_EQ(associated.result, test.associated ? 0 : 42);
        EXPECT_EQ(associated.errors,
                  test.associated ? ClientErrors{}
                                  : (ClientErrors{{NC_ERR_BAD_ELEM,
                                                   "The nature is not associated, the operation is not supported."}}));
    }
}

TEST_F(EditContext, NatureThatCannotBeReadIsRefusedByBoth)
{
    const std::string message = "Get error associated-enable node information.";
    const std::vector<std::string> natures = {"", "<associated-enable/>", "<associated-enable text=''/>",
                                              leaf("associated-enable", std::string(64, 't'))};
    for (const std::string& nature : natures) {
        for (const Judge judge : {Judge_UDBasicSig_By_SigNature, Judge_UDAssocSig_By_SigNature}) {
            SCOPED_TRACE(nature);
            const DebugSwitches switches({true, false});
            const CallResult r = server.run("<signature>" + nature + "<leaf/></signature>", "//leaf",
                                            [=](API_ENV_S* env) { return judge(env, 1); });
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, message}}));
            EXPECT_EQ(r.output, "[IPS]ERROR: " + message + "\r\n\r\n");
        }
    }
}

TEST_F(EditContext, NatureOf63CharactersIsRead)
{
    const std::string xml = "<signature>" + leaf("associated-enable", std::string(63, 't')) + "<leaf/></signature>";
    EXPECT_TRUE(
        server.run(xml, "//leaf", [](API_ENV_S* env) { return Judge_UDBasicSig_By_SigNature(env, 1); }).quiet());
}

// ---------------------------------------------------------------------------------------------------- entry's name --

struct EntryName {
    bool found = false;
    std::string text;
};

EntryName entry_name(const std::string& content, unsigned size = 128)
{
    const EditTree tree("<signature-set>" + content + "</signature-set>");
    std::array<char, 160> buffer{"#"};
    const char* result = IPS_GetTargetPolicyName(tree.find("/signature-set"), buffer.data(), size);
    EXPECT_TRUE(result == nullptr || result == buffer.data());
    return {result != nullptr, buffer.data()};
}

TEST(EntryNames, AreTrimmedAndQuotedWhenTheyHoldWhiteSpace)
{
    EXPECT_EQ(entry_name("<name>web</name>").text, "web");
    EXPECT_EQ(entry_name("<name>  web </name>").text, "web");
    EXPECT_EQ(entry_name("<name>web set</name>").text, "\"web set\"");
    EXPECT_EQ(entry_name("<name>\tweb\tset\n</name>").text, "\"web\tset\"");
    EXPECT_EQ(entry_name("<name>we?b</name>").text, "we?b");
}

TEST(EntryNames, ComeFromTheFirstElementChildOfThatName)
{
    EXPECT_EQ(entry_name("\n  <!-- name --><other>x</other><name>a</name><name>b</name>").text, "a");
    EXPECT_EQ(entry_name("<?name instruction?><name>a</name>").text, "a");
    EXPECT_EQ(entry_name("<other><name>inner</name></other><name>outer</name>").text, "outer");
}

TEST(EntryNames, EntryWithoutANameGivesNullAndLeavesTheBuffer)
{
    const EntryName none = entry_name("<other>x</other>");
    EXPECT_FALSE(none.found);
    EXPECT_EQ(none.text, "#");
}

TEST(EntryNames, NullArgumentsGiveNull)
{
    const EditTree tree("<signature-set><name>web</name></signature-set>");
    std::array<char, 8> buffer{"#"};
    EXPECT_EQ(IPS_GetTargetPolicyName(nullptr, buffer.data(), 8), nullptr);
    EXPECT_EQ(IPS_GetTargetPolicyName(tree.find("/signature-set"), nullptr, 8), nullptr);
    EXPECT_STREQ(buffer.data(), "#");
}

TEST(EntryNames, AreCutToTheBuffer)
{
    EXPECT_EQ(entry_name("<name>abcdefg</name>", 8).text, "abcdefg");
    EXPECT_EQ(entry_name("<name>abcdefgh</name>", 8).text, "abcdefg");
    EXPECT_EQ(entry_name("<name>ab cd</name>", 8).text, "\"ab cd\"");
    EXPECT_EQ(entry_name("<name>ab cde</name>", 8).text, "\"ab cde");
    EXPECT_EQ(entry_name(leaf("name", std::string(127, 'n')), 160).text, std::string(127, 'n'));
    EXPECT_EQ(entry_name(leaf("name", std::string(128, 'n')), 160).text, std::string(127, 'n'));
}

} // namespace
