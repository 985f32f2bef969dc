// What has to be there for an upgrade of the modem's firmware.
#include "tools/board/upgrade.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace {

using Texts = std::vector<std::string>;

class UpgradeTest : public testing::Test {
  protected:
    void Write(const std::string& name, const std::string& text, mode_t mode = 0644) const {
        temporary.Write(name, text);
        chmod((folder + "/" + name).c_str(), mode);
    }
    Texts Problems() const {
        Texts problems = board::CheckFirmware(folder).problems;
        for (std::string& problem : problems) {
            const size_t at = problem.find(folder);
            if (at != std::string::npos) problem.replace(at, folder.size(), "DIR");
        }
        return problems;
    }

    const TemporaryFolder temporary;
    const std::string& folder = temporary.path();
};

TEST_F(UpgradeTest, ToolAndFirmware) {
    Write("QFirehose",
          "\x7F"
          "ELF",
          0755);
    mkdir((folder + "/update").c_str(), 0755);
    Write("update/rawprogram.xml", "<data/>");
    Write("NON-HLOS.ubi", "12345");
    const board::Firmware firmware = board::CheckFirmware(folder);
    EXPECT_EQ(firmware.problems, Texts{});
    EXPECT_FALSE(firmware.is_wrapped);
    ASSERT_EQ(firmware.files.size(), 2u);
    EXPECT_EQ(firmware.files[0].name, "NON-HLOS.ubi");
    EXPECT_EQ(firmware.files[0].size_bytes, 5);
    EXPECT_EQ(firmware.files[1].name, "update/rawprogram.xml");
}

TEST_F(UpgradeTest, WhatIsMissing) {
    EXPECT_EQ(Problems(), (Texts{"DIR/QFirehose: No such file or directory", "there is no firmware in DIR"}));
    Write("QFirehose", "x");
    EXPECT_EQ(Problems(), (Texts{"DIR/QFirehose isn't executable", "there is no firmware in DIR"}));
    Write("QFirehose", "", 0755);
    Write("a.bin", "");
    EXPECT_EQ(Problems(), (Texts{"DIR/QFirehose is empty", "DIR/a.bin is empty"}));
    EXPECT_EQ(board::CheckFirmware("/no/such").problems, (Texts{"there is no folder /no/such"}));
    EXPECT_EQ(board::CheckFirmware("/dev/null").problems, (Texts{"there is no folder /dev/null"}));
}

TEST_F(UpgradeTest, TheWrapperNeedsWhatItWraps) {
    Write("QFirehose", "#!/bin/sh\nreal=QFirehose.real\n", 0755);
    Write("a.bin", "x");
    EXPECT_EQ(Problems(), (Texts{"DIR/QFirehose.real: No such file or directory"}));
    Write("QFirehose.real", "x");
    EXPECT_EQ(Problems(), (Texts{"DIR/QFirehose.real isn't executable"}));
    Write("QFirehose.real", "x", 0755);
    EXPECT_EQ(Problems(), Texts{});
    EXPECT_TRUE(board::CheckFirmware(folder).is_wrapped);
}

TEST_F(UpgradeTest, APipeAmongTheFilesIsNotWaitedFor) {
    Write("QFirehose", "x", 0755);
    ASSERT_EQ(mkfifo((folder + "/a.bin").c_str(), 0644), 0);
    EXPECT_EQ(Problems(), (Texts{"DIR/a.bin is a pipe and no file"}));
    unlink((folder + "/QFirehose").c_str());
    ASSERT_EQ(mkfifo((folder + "/QFirehose").c_str(), 0755), 0);
    EXPECT_EQ(Problems()[0], "DIR/QFirehose is a pipe and no file");
}

TEST_F(UpgradeTest, OutcomesInTheLog) {
    const auto outcome = [](const char* message) { return board::OutcomeOf({"", message}); };
    EXPECT_EQ(outcome("[OTA] send ocpp ota upgrade status ok"), 0u);
    EXPECT_EQ(outcome("[OTA] send ocpp ota upgrade status fail"), 1u);
    EXPECT_EQ(outcome("[OTA] send ocpp 4G module not support ota"), 2u);
    EXPECT_EQ(outcome("[OTA] send ocpp ota file path or file not exist"), 3u);
    EXPECT_FALSE(outcome("[OTA] Upgrade module successfully")) << "the last word of the tool counts";
    EXPECT_FALSE(outcome("+CMT: [OTA] send ocpp ota upgrade status ok")) << "somebody's message";
}

}  // namespace
