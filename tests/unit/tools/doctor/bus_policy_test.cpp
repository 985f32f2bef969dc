// Rules of the message bus, judged as the bus does it.
#include "tools/doctor/bus_policy.h"

#include <gtest/gtest.h>

#include "tools/doctor/examination.h"

namespace doctor {
namespace {

BusPolicy PolicyOf(const std::string& sections) {
    BusPolicy policy;
    std::vector<std::string> includes;
    std::string error;
    EXPECT_TRUE(ParsePolicy("<busconfig>" + sections + "</busconfig>", "test", &policy, &includes, &error))
        << error;
    return policy;
}

PolicyQuestion Call(const std::string& interface) {
    return {false, "busglue.RAVELIN", "method_call", interface, "Message", "/busglue/RAVELIN", false};
}
PolicyQuestion Signal(bool is_broadcast) {
    return {false, "busglue.RAVELIN", "signal", "busglue.ravelin", "reset", "/busglue/ravelin", is_broadcast};
}
PolicyQuestion Own(const std::string& name) {
    return {true, name, "", "", "", "", false};
}

TEST(BusPolicy, DeniesWhatNoRuleAllows) {
    EXPECT_FALSE(IsAllowed(PolicyOf(""), Call("a.b"), "root"));
}

TEST(BusPolicy, LetsTheLastRuleCount) {
    const std::string allow = R"(<allow send_destination="busglue.RAVELIN"/>)";
    const std::string deny = R"(<deny send_destination="busglue.RAVELIN"/>)";
    const auto in = [](const std::string& rules) {
        return PolicyOf("<policy context=\"default\">" + rules + "</policy>");
    };
    EXPECT_TRUE(IsAllowed(in(deny + allow), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(in(allow + deny), Call("a.b"), ""));
}

TEST(BusPolicy, WeighsUsersOverGroupsAndTheseOverTheDefault) {
    const BusPolicy policy = PolicyOf(
        R"(<policy user="u"><allow send_destination="*"/></policy>
           <policy group="g"><deny send_destination="*"/></policy>
           <policy context="default"><allow send_destination="*"/></policy>
           <policy context="mandatory"><deny send_type="signal"/></policy>)");
    EXPECT_TRUE(IsAllowed(policy, Call(""), ""));
    EXPECT_FALSE(IsAllowed(policy, Call(""), "", "g"));
    EXPECT_TRUE(IsAllowed(policy, Call(""), "u", "g"));
    EXPECT_FALSE(IsAllowed(policy, Signal(true), "u", "g"));
}

TEST(BusPolicy, KnowsRootByItsNumber) {
    EXPECT_TRUE(IsAllowed(PolicyOf(R"(<policy user="0"><allow own="busglue.RAVELIN"/></policy>)"),
                          Own("busglue.RAVELIN"), "root"));
}

TEST(BusPolicy, TakesPrefixesWordByWord) {
    const BusPolicy policy = PolicyOf(R"(<policy context="default"><allow own_prefix="busglue"/></policy>)");
    EXPECT_TRUE(IsAllowed(policy, Own("busglue.RAVELIN"), ""));
    EXPECT_TRUE(IsAllowed(policy, Own("busglue"), ""));
    EXPECT_FALSE(IsAllowed(policy, Own("busglued.RAVELIN"), ""));
}

TEST(BusPolicy, LooksAtTypeInterfaceMemberAndPath) {
    const auto with = [](const std::string& attributes) {
        return PolicyOf("<policy context=\"default\"><allow " + attributes + "/></policy>");
    };
    EXPECT_TRUE(IsAllowed(with(R"(send_type="method_call")"), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_type="signal")"), Call("a.b"), ""));
    EXPECT_TRUE(IsAllowed(with(R"(send_interface="a.b")"), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_interface="a.c")"), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_interface="a.b")"), Call(""), ""))
        << "an allowance needs the interface";
    EXPECT_TRUE(IsAllowed(with(R"(send_member="Message")"), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_member="Other")"), Call("a.b"), ""));
    EXPECT_TRUE(IsAllowed(with(R"(send_path="/busglue/RAVELIN")"), Call("a.b"), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_path="/other")"), Call("a.b"), ""));
    EXPECT_TRUE(IsAllowed(with(R"(send_broadcast="true")"), Signal(true), ""));
    EXPECT_FALSE(IsAllowed(with(R"(send_broadcast="true")"), Signal(false), ""));
}

TEST(BusPolicy, DeniesByAnInterfaceWhatHasNone) {
    const BusPolicy policy = PolicyOf(
        R"(<policy context="default"><allow send_destination="*"/><deny send_interface="a.b"/></policy>)");
    EXPECT_FALSE(IsAllowed(policy, Call(""), ""));
    EXPECT_TRUE(IsAllowed(policy, Call("a.c"), ""));
}

TEST(BusPolicy, LeavesOutRulesAboutAnswersAndReceivers) {
    const BusPolicy policy = PolicyOf(
        R"(<policy context="default"><allow send_requested_reply="true"/><allow receive_sender="*"/>
           <allow user="*"/>
           <allow send_error="a.b.C"/></policy>)");
    EXPECT_FALSE(IsAllowed(policy, Call(""), ""));
    EXPECT_TRUE(policy.sections[0].rules.empty());
}

TEST(BusPolicy, CollectsIncludes) {
    BusPolicy policy;
    std::vector<std::string> includes;
    std::string error;
    ASSERT_TRUE(ParsePolicy(
        "<busconfig><include ignore_missing=\"yes\"> /etc/a.conf\n</include><includedir>system.d</includedir>"
        "<include if_selinux_enabled=\"yes\">b</include></busconfig>",
        "test", &policy, &includes, &error));
    EXPECT_EQ(includes, (std::vector<std::string>{"/etc/a.conf", "system.d/"}));
}

TEST(BusPolicy, SaysWhereAFileIsBroken) {
    BusPolicy policy;
    std::vector<std::string> includes;
    std::string error;
    EXPECT_FALSE(ParsePolicy("<busconfig>\n<policy>\n</busconfig>", "test", &policy, &includes, &error));
    EXPECT_EQ(error, "line 3: mismatched tag");
    EXPECT_TRUE(policy.sections.empty()) << "the bus leaves out the whole file";
}

TEST(BusPolicy, StandsFilesThatIncludeThemselvesOrNothing) {
    BusPolicy policy;
    std::vector<std::string> includes;
    std::string error;
    EXPECT_TRUE(ParsePolicy("<busconfig><include></include><includedir></includedir></busconfig>", "test",
                            &policy, &includes, &error));
    EXPECT_EQ(includes, (std::vector<std::string>{"", "/"}));
}

}  // namespace
}  // namespace doctor
