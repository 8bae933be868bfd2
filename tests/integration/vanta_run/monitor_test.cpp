// The statistics of a run: datagrams live, ten-second records, the plot.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <opencv2/imgcodecs.hpp>

#include "fixtures/process/datagram_listener.h"
#include "program.h"

namespace vanta_test {
namespace {

constexpr uint16_t kFirstPort = 12345;

void SendFigures(uint16_t port, int32_t arrived) {
  char datagram[56] = {};
  std::memcpy(datagram + 36, &arrived, sizeof(arrived));
  const int file = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(sendto(file, datagram, sizeof(datagram), 0, reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
            56);
  close(file);
}

// Asks the system: trying the port would take it away from the program that is about to have it.
void AwaitListener(uint16_t port) {
  char address[16];
  std::snprintf(address, sizeof(address), "0100007F:%04X", unsigned{port});
  for (;;) {
    std::ifstream sockets("/proc/net/udp");
    for (std::string line; std::getline(sockets, line);) {
      if (line.find(address) < line.find("00000000:0000")) return;
    }
    std::this_thread::yield();
  }
}

TEST(RunMonitor, ShowsTheWorkersOfAnyProcessAsLines) {
  const ListenerTurn turn;
  const Workplace workplace;
  RunningProgram monitor(workplace, {"monitor", "--ports", "2"});
  AwaitListener(kFirstPort + 1);
  SendFigures(kFirstPort, 123456);
  SendFigures(kFirstPort + 1, 234567);
  monitor.Signal(SIGINT);
  const ProgramResult result = monitor.Finish();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_NE(result.out.find("in 123456/s"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("in 234567/s"), std::string::npos) << result.out;
  EXPECT_EQ(result.err, "");
}

TEST(RunMonitor, SecondMonitorIsRefused) {
  const ListenerTurn turn;
  const DatagramListener other(kFirstPort);
  ASSERT_TRUE(other.Bound());
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"monitor"}, {"--input", "color:203040", "--monitor"}}) {
    const ProgramResult result =
        RunProgram(Workplace(), arguments, {{{"DISPLAY", std::nullopt}, {"PATH", "/nowhere"}}, {}});
    EXPECT_EQ(result.exit_code, 7);
    EXPECT_EQ(result.err, "vanta-run: port 12345: another monitor is running and has it; stop that one first\n");
  }
}

TEST(RunMonitor, LaterPortThatIsTakenIsNamed) {
  const ListenerTurn turn;
  const DatagramListener other(kFirstPort + 1);
  ASSERT_TRUE(other.Bound());
  const ProgramResult result = RunProgram(Workplace(), {"monitor", "--seconds", "0.1"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err.rfind("vanta-run: taken by another program, so not shown: port 12346\n", 0), 0u) << result.err;
}

// Any process of this machine may have a filter that is heard.
TEST(RunMonitor, SilenceOfAllFiltersIsTold) {
  const ListenerTurn turn;
  const ProgramResult result = RunProgram(Workplace(), {"monitor", "--seconds", "0.1"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, result.out.empty()
                            ? "vanta-run: no beauty filter was heard; it sends once a second while frames come in\n"
                            : "");
}

TEST(RunMonitor, SlowEngineShowsAsJanksInTheReport) {
  const Workplace workplace;
  RunningProgram program(workplace, {"--input", "color:c08060", "--size", "320x240", "--loop", "--engine-delay", "170",
                                     "--report", "r.json"});
  ASSERT_TRUE(program.WaitForRepeats(40)) << program.errors();
  program.Signal(SIGINT);
  ASSERT_EQ(program.Finish().exit_code, 130) << program.errors();
  const nlohmann::json frames = ReadReport(workplace / "r.json")["frames"];
  EXPECT_GE(frames["repeated"].get<int>(), 40) << frames;
  EXPECT_GT(frames["janks"].get<int>() + frames["big_janks"].get<int>(), 0) << frames;
}

// Until the first ten-second record is there.
TEST(RunMonitor, RunShowsItsDatagramsReportsItsRecordsAndDrawsItsPlot) {
  const ListenerTurn turn;
  const Workplace workplace;
  RunningProgram program(workplace,
                         {"--input", "color:c08060", "--size", "320x240", "--interactive", "--quiet", "--monitor",
                          "--report", "r.json", "--plot", "p.png"},
                         {{}, {}, true});
  for (size_t answers = 1; program.output().find("\"result\":[{") == std::string::npos; ++answers) {
    program.Type("{\"call\":\"GetBeautyStatistics\"}\n");
    ASSERT_TRUE(program.WaitForOutput("\"result\":", answers)) << program.errors();
  }
  ASSERT_TRUE(program.WaitForLine(" s port 12345 from ")) << program.errors();
  program.Type("quit\n");
  const ProgramResult result = program.Finish();
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const nlohmann::json report = ReadReport(workplace / "r.json");
  ASSERT_FALSE(report["aggregates"].empty());
  const nlohmann::json &record = report["aggregates"][0];
  EXPECT_EQ(record["name"], "face_beauty_filter_v2_1");
  EXPECT_EQ(record["resolution"], "320x240");
  EXPECT_GT(record["arrived_fps"].get<double>(), 0);
  EXPECT_GT(record["seconds"].get<double>(), 9);
  EXPECT_TRUE(report["frames"].contains("big_janks"));
  const cv::Mat plot = cv::imread((workplace / "p.png").string());
  EXPECT_EQ(plot.cols, 1000);
  EXPECT_EQ(plot.rows, 620);
}

}  // namespace
}  // namespace vanta_test
