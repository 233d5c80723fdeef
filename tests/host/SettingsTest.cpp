#include <gmock/gmock.h>

#include <iostream>
#include <sstream>

#include "host/CommandLine.h"
#include "host/Json.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixRegistry.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

// `vmlib settings` inside this process, over registry files in a folder of its own.
namespace vmlib::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using vmlib::test::FakeDesktop;
using vmlib::test::FakeProcesses;
using vmlib::test::FakeSystem;

constexpr const char* header = "Windows Registry Editor Version 5.00\n\n";

struct Answer
{
    int code;
    std::string out, err;
};

class SettingsCommand : public testing::Test
{
protected:
    Answer Run(std::vector<std::string> words)
    {
        std::ostringstream out, err;
        Platform platform{files_, system_, desktop_, registry_, processes_};
        ClassRegistry classes;
        Session session(platform, classes, out, err);
        CommandLine line(session);
        AddSettingsCommand(line);
        words.insert(words.begin(), "settings");
        const int code = line.Run(std::move(words));
        return {code, out.str(), err.str()};
    }
    std::string Out(std::vector<std::string> words)
    {
        const Answer answer = Run(std::move(words));
        EXPECT_EQ(answer.code, 0) << answer.err;
        return answer.out;
    }

    vmlib::test::TemporaryFolder folder_;
    posix::PosixFiles files_;
    FakeSystem system_{folder_.Path() + u"\\"};
    FakeDesktop desktop_;
    FakeProcesses processes_;
    posix::PosixRegistry registry_{{folder_.Native("user.reg").string(), folder_.Native("machine.reg").string()}};
};

TEST_F(SettingsCommand, ValuesOfEachTypeAreWrittenAndRead)
{
    const std::string e = "\xC3\xA9";
    EXPECT_EQ(Out({"set", "Planner", "Opties", "Kleur", "groen" + e}), "");
    EXPECT_EQ(Out({"set", "Planner", "Opties", "Aantal", "-5", "--type", "long"}), "");
    EXPECT_EQ(Out({"set", "Planner", "Opties", "Marge", "2.5", "--type=double"}), "");
    EXPECT_EQ(Out({"set", "Planner", "Opties", "Aan", "true", "--type", "bool"}), "");
    EXPECT_EQ(Out({"set", "--machine", "Planner", "", "Los", "--", "--vreemd"}), "");
    EXPECT_EQ(folder_.Read("user.reg"), std::string(header) +
                                            "[HKEY_CURRENT_USER\\Software\\VMD\\Planner\\Opties]\n"
                                            "\"Kleur\"=\"groen" +
                                            e +
                                            "\"\n\"Aantal\"=dword:fffffffb\n"
                                            "\"Marge\"=\"2.5\"\n\"Aan\"=dword:ffffffff\n");
    EXPECT_EQ(Out({"get", "planner", "opties", "kleur"}), "groen" + e + "\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Aantal"}), "-5\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Marge", "--type", "double"}), "2.5\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Aantal", "--type", "double"}), "-5\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Aan"}), "-1\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Aan", "--type", "bool"}), "true\n");
    EXPECT_EQ(Out({"get", "Planner", "", "Los", "--machine"}), "--vreemd\n");
    EXPECT_EQ(Out({"set", "Planner", "Opties", "--", "-n", "x"}), "");
    EXPECT_EQ(Out({"get", "planner", "OPTIES", "--json", "--", "-N"}),
              R"({"section":"Opties","name":"-n","type":"string","value":"x"})"
              "\n");
    EXPECT_EQ(Out({"get", "Planner", "Opties", "Aantal", "--type", "double", "--json"}),
              R"({"section":"Opties","name":"Aantal","type":"double","value":-5.0})"
              "\n");
}

TEST_F(SettingsCommand, ListsEverythingOfAPackage)
{
    const std::string text(300, 'x');
    folder_.Write("user.reg", std::string(header) +
                                  "[HKEY_CURRENT_USER\\Software\\VMD\\Planner]\n\"Los\"=\"a\"\n"
                                  "[HKEY_CURRENT_USER\\Software\\VMD\\Planner\\Opties\\Druk]\n\"Ruw\"=hex:01,ff\n"
                                  "[HKEY_CURRENT_USER\\Software\\VMD\\Planner\\Opties]\n\"Lang\"=\"" +
                                  text +
                                  "\"\n\"Aantal\"=dword:00000003\n"
                                  "[HKEY_CURRENT_USER\\Software\\VMD\\Ander]\n\"Geen\"=\"b\"\n");
    EXPECT_EQ(Out({"list", "Planner"}), "Los=a\n[Opties]\nLang=" + text + "\nAantal=3\n[Opties\\Druk]\nRuw=01FF\n");
    EXPECT_EQ(Out({"list", "Planner", "Opties\\Druk", "--json"}),
              R"({"section":"Opties\\Druk","name":"Ruw","type":"type 3","value":"01FF"})"
              "\n");
    EXPECT_THAT(Out({"list", "Planner", "Opties", "--json"}), HasSubstr(R"("name":"Aantal","type":"long","value":3})"));
}

TEST_F(SettingsCommand, WhatIsNotThereIsExitCodeOne)
{
    Out({"set", "Planner", "Opties", "Kleur", "rood"});
    for (const std::vector<std::string>& words : {std::vector<std::string>{"get", "Planner", "Opties", "Geen"},
                                                  {"get", "Planner", "Geen", "Kleur"},
                                                  {"list", "Geen"},
                                                  {"delete", "Planner", "Opties", "Geen"},
                                                  {"delete", "Planner", "Geen"},
                                                  {"get", "Planner", "Opties", "Kleur", "--machine"}}) {
        const Answer answer = Run(words);
        EXPECT_EQ(answer.code, 1) << words[2];
        EXPECT_THAT(answer.err, HasSubstr("is not there"));
        EXPECT_EQ(answer.out, "");
    }
}

TEST_F(SettingsCommand, Deletes)
{
    Out({"set", "Planner", "Opties", "Kleur", "rood"});
    EXPECT_EQ(Run({"delete", "Planner"}).code, 3) << "it has a section";
    Out({"delete", "Planner", "Opties", "Kleur"});
    EXPECT_EQ(Out({"list", "Planner", "Opties"}), "[Opties]\n");
    Out({"delete", "Planner", "Opties"});
    Out({"delete", "Planner"});
    EXPECT_EQ(Run({"list", "Planner"}).code, 1);
}

TEST_F(SettingsCommand, UsageIsRefused)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{"set", "P", "S", "N"},
                                                  {"set", "P", "S", "N", "a", "b"},
                                                  {"set", "", "S", "N", "a"},
                                                  {"set", "P", "S", "N", "2,5", "--type", "double"},
                                                  {"set", "P", "S", "N", "a", "--type", "date"},
                                                  {"set", "P", "S", "N", "\xCE\xA9"},
                                                  {"set", "P", "S", "\xCE\xA9", "a"},
                                                  {"set", "\xCE\xA9", "S", "N", "a"},
                                                  {"delete", "P", "S", "\xC4\x80"},
                                                  {"set", "P", "S", "N", "inf", "--type", "double"},
                                                  {"get", "P"},
                                                  {"list"}})
        EXPECT_EQ(Run(words).code, 2) << words.back();
    EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(SettingsCommand, AFileThatCannotBeReadIsAnErrorAndStays)
{
    const std::string damaged = std::string(header) + "[HKEY_CURRENT_USER\\Software]\n\"Half\"=\"\n";
    folder_.Write("user.reg", damaged);
    for (const std::vector<std::string>& words : {std::vector<std::string>{"get", "P", "S", "N"},
                                                  {"set", "P", "S", "N", "a"},
                                                  {"list", "P"},
                                                  {"delete", "P"}}) {
        const Answer answer = Run(words);
        EXPECT_EQ(answer.code, 3) << words[0];
        EXPECT_THAT(answer.err, HasSubstr("error 321: Invalid file format: " + folder_.Native("user.reg").string()));
    }
    EXPECT_EQ(folder_.Read("user.reg"), damaged);
    EXPECT_EQ(Run({"set", "P", "S", "N", "a", "--machine"}).code, 0) << "the other file is sound";
}

TEST_F(SettingsCommand, KeysTheStoreRefusesAreAnError)
{
    const Answer answer = Run({"set", "P", std::string(300, 'x'), "N", "a"});
    EXPECT_EQ(answer.code, 3);
    EXPECT_EQ(answer.err, "error 5: Invalid procedure call or argument: the store takes no such name\n");
}

}  // namespace
}  // namespace vmlib::host
