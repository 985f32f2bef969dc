// A folder that looks like a healthy board, for whoever runs the tests: owners and devices are made up.
#pragma once

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tools/doctor/daemon_commands.h"
#include "tools/doctor/examination.h"

namespace doctor {

constexpr pid_t kDaemonProcess = 100;
constexpr time_t kNow_seconds = 1800000000;

/// A folder of its own, which goes away with its files.
class BoardFolder {
  public:
    BoardFolder() {
        char path[] = "/tmp/doctor-test-XXXXXX";
        path_ = mkdtemp(path);
    }
    ~BoardFolder() { std::filesystem::remove_all(path_); }
    BoardFolder(const BoardFolder&) = delete;
    BoardFolder& operator=(const BoardFolder&) = delete;

    std::string operator/(const std::string& path) const { return path_ + path; }
    const std::string& path() const { return path_; }

    void Write(const std::string& path, const std::string& text, mode_t mode = 0644) const {
        MakeFolderOf(path);
        std::filesystem::remove_all(*this / path);
        std::ofstream(*this / path) << text;
        chmod((*this / path).c_str(), mode);
    }
    void Append(const std::string& path, const std::string& text) const {
        std::ofstream(*this / path, std::ios::app) << text;
    }
    void Link(const std::string& path, const std::string& to) const {
        MakeFolderOf(path);
        std::filesystem::remove_all(*this / path);
        std::filesystem::create_symlink(to, *this / path);
    }
    void Pipe(const std::string& path) const {
        MakeFolderOf(path);
        std::filesystem::remove_all(*this / path);
        ASSERT_EQ(mkfifo((*this / path).c_str(), 0640), 0);
        chmod((*this / path).c_str(), 0640);
    }
    void MakeFolder(const std::string& path, mode_t mode = 0755) const {
        std::filesystem::create_directories(*this / path);
        chmod((*this / path).c_str(), mode);
    }
    void Remove(const std::string& path) const {
        ASSERT_GT(std::filesystem::remove_all(*this / path), 0U) << path;
    }
    void SetMode(const std::string& path, mode_t mode) const {
        ASSERT_EQ(chmod((*this / path).c_str(), mode), 0) << path;
    }
    /// Exchanges a text in a file, which has to hold it.
    void Exchange(const std::string& path, const std::string& from, const std::string& to) const {
        std::string text = TextOf(*this / path);
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << path << " has no " << from;
        text.replace(at, from.size(), to);
        std::ofstream(*this / path) << text;
    }
    static std::string TextOf(const std::string& path) {
        std::ifstream file(path);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

  private:
    void MakeFolderOf(const std::string& path) const {
        std::filesystem::create_directories(*this / path.substr(0, path.rfind('/')));
    }

    std::string path_;
};

/// Files below the folder as root's, with some as devices, or as something else.
class PretendedBoard : public Board {
  public:
    explicit PretendedBoard(const BoardFolder& folder) : Board(folder.path()) {}

    FileFacts Look(const std::string& path, Link link = Link::kFollow) const override {
        FileFacts facts = Board::Look(path, link);
        facts.owner = 0;
        facts.group = 0;
        if (const int error = ErrorAt(path); error != 0) {
            FileFacts nothing;
            nothing.error = error;
            return nothing;
        }
        if (!facts.exists || facts.is_link()) return facts;
        if (const auto device = devices.find(facts.number); device != devices.end()) {
            facts.mode = S_IFCHR | (facts.mode & 07777U);
            facts.device = device->second;
        }
        if (const auto owner = owners.find(path); owner != owners.end()) facts.owner = owner->second;
        return facts;
    }
    SpaceFacts Space(const std::string& path) const override {
        const auto found = spaces.find(path);
        return found == spaces.end() ? SpaceFacts() : found->second;
    }
    FileText Read(const std::string& path, size_t limit = kTextLimit_bytes) const override {
        FileText text;
        text.error = ErrorAt(path);
        return text.error == 0 ? Board::Read(path, limit) : text;
    }
    std::optional<std::vector<std::string>> List(const std::string& path) const override {
        return ErrorAt(path) == 0 && ErrorAt(path + "/.") == 0 ? Board::List(path) : std::nullopt;
    }

    /// The file there stands for a device from now on.
    void MakeDevice(const std::string& path, dev_t device) { devices[Board::Look(path).number] = device; }

    std::map<ino_t, dev_t> devices;
    std::map<std::string, uid_t> owners;  // root's otherwise
    std::map<std::string, SpaceFacts> spaces;
    // What can't be looked at, with what is below it; with a "/" at the end only what is in a folder.
    std::map<std::string, int> errors;

  private:
    int ErrorAt(const std::string& path) const {
        for (const auto& [closed, error] : errors) {
            const bool is_below = path.compare(0, closed.size(), closed) == 0 &&
                                  (closed.back() == '/' || path[closed.size()] == '/');
            if (path == closed || is_below) return error;
        }
        return 0;
    }
};

/// Everything that a daemon finds on a healthy board while it runs there.
class HealthyBoard {
  public:
    HealthyBoard() : board(folder) {
        const std::string packaging = std::string(RAVELIN_SOURCE_DIR) + "/packaging/";
        const auto copy = [&](const std::string& file, const std::string& path, mode_t mode = 0755) {
            folder.Write(path, BoardFolder::TextOf(packaging + file), mode);
        };
        for (size_t i = 0; i < kProgramCount; ++i) {
            const std::string name = kPrograms[i].name;
            if (name[0] != '/') folder.Write("/usr/bin/" + name, "program", 0755);
        }
        folder.Link("/bin", "usr/bin");
        folder.Write("/usr/sbin/ravelin-mobile", "program", 0755);
        folder.Write("/usr/lib/libbusglue.so", "linked to libdbus-1.so.3");
        for (const std::string name : {"if-lte", "udhcpc-lte", "Reset4G.sh"}) {
            copy("board/" + name, "/ubi/local/apps/network/" + name);
        }
        copy("board/S84Reset4G.sh", "/etc/init.d/S84Reset4G.sh");
        copy("board/network.json", "/ubi/conf/network/network.json", 0600);
        copy("board/busglue.conf", "/etc/dbus-1/system.d/busglue.conf", 0644);
        folder.Write("/usr/share/dbus-1/system.conf", kBusConfig);
        copy("systemd/ravelin-mobile.service", "/lib/systemd/system/ravelin-mobile.service", 0644);
        folder.Link("/etc/systemd/system/multi-user.target.wants/ravelin-mobile.service",
                    "/lib/systemd/system/ravelin-mobile.service");
        for (const std::string name : {"ravelin-prepare", "ravelin-supervise"}) {
            copy("init/" + name, "/usr/lib/ravelin-mobile/" + name);
        }
        copy("board/QFirehose", "/usr/lib/ravelin-mobile/QFirehose");
        copy("init/ravelin-mobile.default", "/etc/default/ravelin-mobile", 0644);
        copy("board/QFirehose", kFirmware + "/QFirehose");
        folder.Write(kFirmware + "/QFirehose.real", "program", 0755);
        for (const std::string pin : {"121", "122", "130", "182"}) {
            folder.Write("/sys/class/gpio/gpio" + pin + "/value", "0\n");
            folder.Write("/sys/class/gpio/gpio" + pin + "/direction", "out\n");
        }
        folder.Write("/etc/ravelin/ifcfg-lte", kSettings, 0600);
        folder.Write(kSettingsPath, kSettings, 0640);
        folder.SetMode(kNetworkFolder, 0750);
        folder.Write("/run/network/ravelin_status", "Online=TRUE\n");
        folder.Pipe("/run/network/ravelin_fifo");
        folder.Write("/proc/cpuinfo", "processor\t: 0\nmodel name\t: board\n");
        folder.Write("/proc/version", "Linux version 6.1.0\n");
        folder.Write("/dev/ttyUSB2", "", 0660);
        board.MakeDevice("/dev/ttyUSB2", makedev(188, 2));
        AddProcess(1, "init");
        AddProcess(kDaemonProcess, kDaemonName);
        Opens(kDaemonProcess, 3, "/dev/ttyUSB2");
        Opens(kDaemonProcess, 5, "/run/network/ravelin_fifo");

        request.is_root = true;
        request.now_seconds = kNow_seconds;
        request.built_seconds = kNow_seconds - 1;
        bus.asked = true;
        bus.is_reachable = true;
        bus.name_is_owned = true;
        bus.owner = kDaemonProcess;
        bus.stranger = BusLook::Stranger::kRefused;
        request.look_at_bus = [this] { return bus; };
        request.ask_port = [this](const std::string&) { return answer; };
    }

    void AddProcess(pid_t process, const std::string& name) const {
        const std::string path = "/proc/" + std::to_string(process);
        folder.MakeFolder(path + "/fd");
        folder.Write(path + "/comm", name + "\n");
        folder.Write(path + "/status", "Name:\t" + name + "\nUmask:\t0022\nState:\tS\n");
        folder.Write(path + "/cmdline", name + std::string(1, '\0'));
        folder.Write(path + "/stat",
                     std::to_string(process) + " (" + name + ") S" + kStatFields + "777 0 0\n");
    }
    void Opens(pid_t process, int descriptor, const std::string& path) const {
        folder.Link("/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor), path);
    }
    void RemoveProcess(pid_t process) const { folder.Remove("/proc/" + std::to_string(process)); }

    Report Examine() const { return Examination(board, request).Run(); }

    const std::string kFirmware = "/media/mmcblk0p1/firmware_modules/CellularOTA";
    BoardFolder folder;
    PretendedBoard board;
    Request request;
    BusLook bus;
    PortAnswer answer{true, "", true, "OK"};

  private:
    static constexpr char kSettings[] = "# the link\nENABLE=true\nAPN=internet\nDoubleSIM=1\n";
    // 18 between the state and the start.
    static constexpr char kStatFields[] = " 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 0 0 1 0 ";
    // That of D-Bus, as far as it counts here.
    static constexpr char kBusConfig[] = R"(<?xml version="1.0"?>
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow receive_type="method_call"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <include ignore_missing="yes">/etc/dbus-1/system.conf</include>
  <includedir>system.d</includedir>
  <includedir>/etc/dbus-1/system.d</includedir>
  <include if_selinux_enabled="yes" selinux_root_relative="yes">contexts/dbus_contexts</include>
</busconfig>
)";
};

}  // namespace doctor
