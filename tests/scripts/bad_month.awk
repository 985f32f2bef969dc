# The log of a bad month, at level 6: an outage about every half hour, of one cause after the other; its lines are those of a
# Quectel modem. The DHCP script, the subscriber numbers and a request say what a hostile text would.
function say(place, text) {
    t += 0.25
    ms = int(t * 1000)
    printf "%02d:%02d:%02d.%d %s:%s\n", int(ms / 3600000) % 24, int(ms / 60000) % 60, int(ms / 1000) % 60, ms % 1000, place, text
}
function dial() {
    say("network_daemon/cellular_connect.cpp:Connect:123", "Do connect.  " ++dials " times.")
    t += 20
    say("network_daemon/cellular_connect.cpp:RunDhcpClient:40", "Run DhcpClient!!!")
}
function soft() {
    say("network_daemon/cellular_connect.cpp:SoftReset:60", "Soft reset!")
    say("network_daemon/cellular_connect.cpp:SoftReset:61", "kill udhcpc lte!!!")
    t += 24
    say("network_daemon/cellular_sim.cpp:CheckSimCard:140", "Check SIM!")
    say("network_daemon/cellular_sim.cpp:CheckSimCard:151", "Get Card:  m_card_imsi = 46000111222333" ++sims % 7 hostile)
}
function hard() {
    say("network_daemon/main.cpp:main:120", "kill udhcpc lte!!!")
    t += 5
    say("network_daemon/main.cpp:main:125", "Reset4G.sh start pin_rst")
    t += 6
    say("network_daemon/main.cpp:main:130", "Reset4G time=" ++hards)
    soft()
}
function lost(n, i) {
    for (i = 1; i <= n; ++i) {
        say("network_daemon/cellular_task.cpp:Task:143", "Check connection. offline " i "/10 times")
        t += 2
    }
}
BEGIN {
    hostile = "</script><script>document.title='owned'</script><img src=x onerror=document.title='owned'>"
    say("network_daemon/main.cpp:main:82", "THIS APP BUILD INFO: commit 0 tag V2.5.1 by root on 1")
    say("network_daemon/main.cpp:main:91", "open device  /dev/ttyUSB2  ok!")
    dial()
    for (n = 0; t < days * 86400; ++n) {
        for (i = 0; i < 5; ++i) {
            t += 360
            say("network_daemon/main_bus.cpp:ravelin_deal_dbus_message:88", "[RAVELIN] get ocpp msg id=7 cmd=7603 length=0")
        }
        if (n % 4 == 0) {
            lost(11)
        } else if (n % 4 == 1) {
            say("network_daemon/cellular_task.cpp:Task:137", "No response! Reset device...")
            hard()
        } else if (n % 4 == 2) {
            say("network_daemon/main_fifo.cpp:handle_command:70", "[FIFO]SoftReset:1")
            say("network_daemon/cellular_task.cpp:Task:90", "[FIFO] SoftReset run")
            soft()
        } else {
            say("network_daemon/main_fifo.cpp:thread_function_pipe:77", "udhcpc wwan0 nak " hostile)
            lost(11)
            for (i = 1; i <= 12; ++i) {
                say("network_daemon/cellular_parse.cpp:ParseAtResult:120", "CEREG :0 2")
                say("network_daemon/cellular_connect.cpp:Connect:99", "Check service status.  " i "/34 times.")
                t += 9
            }
        }
        say("network_daemon/cellular_parse.cpp:ParseAtResult:120", "CEREG :0 1")
        dial()
    }
}
