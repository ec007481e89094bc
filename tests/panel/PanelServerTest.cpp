// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelServer.h"

#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "board/panel/PanelPage.h"
#include "board/panel/PanelQueue.h"
#include "tests/panel/Connection.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class PanelServerTest : public testing::Test {
protected:
    std::string Host(const std::string& host = "127.0.0.1") const {
        return "Host: " + host + ":" + std::to_string(server->Port()) + "\r\n";
    }
    std::string Ask(const std::string& request) const { return Connection(server->Port()).Send(request).ReadAll(); }
    std::string Post(const std::string& headers, const std::string& body = "{}") const {
        return Ask("POST /inputs/A HTTP/1.1\r\n" + Host() + headers + "Content-Length: " + std::to_string(body.size()) +
                   "\r\n\r\n" + body);
    }
    std::string Events() const { return "GET /events HTTP/1.1\r\n" + Host() + "\r\n"; }

    PanelFeed feed{"{}", {false}, [] { return 1ms; }};
    std::vector<std::string> posts;
    std::unique_ptr<PanelServer> server = std::make_unique<PanelServer>(
        feed,
        PanelServer::Actions{.post =
                                 [this](const std::string& path, const std::string& body) {
                                     posts.push_back(path + " " + body);
                                     if (body == "refuse")
                                         throw PanelError(404, "no \"such\" line");
                                     if (body == "fail")
                                         throw BoardError("it is an output");
                                     return std::string("{}");
                                 },
                             .picture = [] { return std::string("<svg/>"); },
                             .recording = [this] { return Recording(); }},
        0);

    // Two pieces and the end; or an error before them, or after the first one.
    std::function<std::string()> Recording() const {
        if (failure == Failure::BEFORE)
            throw PanelError(409, "not started");
        return [this, place = 0]() mutable -> std::string {
            if (failure == Failure::WITHIN && place == 1)
                throw BoardError("cannot read");
            return ++place == 1 ? "one " : place == 2 ? "two" : "";
        };
    }
    enum class Failure { NONE, BEFORE, WITHIN };
    Failure failure = Failure::NONE;

    const std::string POLICY = "Cross-Origin-Resource-Policy: ";
};

TEST_F(PanelServerTest, ServesThePageWithAllItsParts) {
    EXPECT_THAT(Ask("GET / HTTP/1.1\r\n" + Host() + "\r\n"), HasSubstr("<title>Velrix virtual board</title>"));
    ASSERT_GE(PanelFiles().size(), 5u);
    for (const PanelFile& file : PanelFiles()) {
        const std::string answer = Ask("GET /" + std::string(file.name) + " HTTP/1.1\r\n" + Host("localhost") + "\r\n");

        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
        EXPECT_THAT(answer, HasSubstr("Content-Type: " + std::string(file.type)));
        EXPECT_THAT(answer, HasSubstr("Content-Security-Policy: default-src 'none'"));
        EXPECT_THAT(answer, testing::AllOf(HasSubstr(POLICY + "same-origin"), Not(HasSubstr("cross-origin"))));
        EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n" + std::string(file.content)));
    }
    EXPECT_THAT(Ask("GET /other HTTP/1.1\r\n" + Host() + "\r\n"), StartsWith("HTTP/1.1 404"));
}

TEST_F(PanelServerTest, RefusesRequestsThatNameAnotherHost) {
    for (const std::string& host :
         {std::string("Host: example.com\r\n"), std::string(), std::string("Host: 127.0.0.1\r\n"),
          "Host: localhost.example.com:" + std::to_string(server->Port()) + "\r\n"})
        EXPECT_THAT(Ask("GET /state HTTP/1.1\r\n" + host + "\r\n"), StartsWith("HTTP/1.1 403")) << host;
    EXPECT_THAT(Ask("POST /x HTTP/1.1\r\nHost: example.com\r\nContent-Length: 0\r\n\r\n"), StartsWith("HTTP/1.1 403"));
    EXPECT_EQ(posts.size(), 0u);
}

TEST_F(PanelServerTest, RefusesRequestsOfOtherSites) {
    const std::string port = std::to_string(server->Port());
    for (const std::string& origin :
         {std::string("null"), std::string("http://example.com"), "https://127.0.0.1:" + port,
          std::string("http://127.0.0.1:1"), "http://127.0.0.1:" + port + ".example.com"})
        EXPECT_THAT(Post("Origin: " + origin + "\r\n"), StartsWith("HTTP/1.1 403")) << origin;
    EXPECT_EQ(posts.size(), 0u);

    for (const std::string& origin : {"http://127.0.0.1:" + port, "http://localhost:" + port})
        EXPECT_THAT(Post("Origin: " + origin + "\r\n"), StartsWith("HTTP/1.1 200")) << origin;
    EXPECT_EQ(posts.size(), 2u);
}

TEST_F(PanelServerTest, HandsOnWhatIsPostedAndSaysWhyItIsRefused) {
    EXPECT_THAT(Post("", "{\"level\":true}"), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(Post("", "refuse"),
                testing::AllOf(StartsWith("HTTP/1.1 404"), HasSubstr("{\"error\":\"no \\\"such\\\" line\"}")));
    EXPECT_THAT(Post("", "fail"), testing::AllOf(StartsWith("HTTP/1.1 409"), HasSubstr("it is an output")));

    EXPECT_THAT(posts, testing::ElementsAre("/inputs/A {\"level\":true}", "/inputs/A refuse", "/inputs/A fail"));
}

TEST_F(PanelServerTest, WantsTheLengthOfABodyAndBoundsIt) {
    EXPECT_THAT(Ask("POST /inputs/A HTTP/1.1\r\n" + Host() + "\r\n"), StartsWith("HTTP/1.1 411"));
    EXPECT_THAT(Post("", std::string(100'000, ' ')), StartsWith("HTTP/1.1 413"));
    EXPECT_EQ(posts.size(), 0u);
}

TEST_F(PanelServerTest, RefusesWhatPagesOfOtherSitesLoad) {
    const struct {
        const char* path;
        const char* headers;
        const char* answer;
    } rows[] = {
        {"/state", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\nSec-Fetch-Dest: image\r\n", "403"},
        {"/events", "Sec-Fetch-Site: same-site\r\nSec-Fetch-Mode: no-cors\r\n", "403"},
        {"/", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: iframe\r\n", "403"},
        {"/state", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: document\r\n", "403"},
        {"/", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: document\r\n", "200"},
        {"/state", "Sec-Fetch-Site: same-origin\r\n", "200"},
        {"/state", "Sec-Fetch-Site: none\r\n", "200"}};

    for (const auto& row : rows)
        EXPECT_THAT(Ask("GET " + std::string(row.path) + " HTTP/1.1\r\n" + Host() + row.headers + "\r\n"),
                    StartsWith(std::string("HTTP/1.1 ") + row.answer))
            << row.path << " " << row.headers;
    EXPECT_THAT(Post("Sec-Fetch-Site: cross-site\r\n"), StartsWith("HTTP/1.1 403"));
    EXPECT_EQ(posts.size(), 0u);
}

TEST_F(PanelServerTest, SaysInWordsWhatIsWrongWithARequest) {
    const std::string post = "POST /inputs/A HTTP/1.1\r\n" + Host();
    const struct {
        std::string request;
        const char* status;
        const char* words;
    } rows[] = {{"hello\r\n\r\n", "400", "this is no HTTP request"},
                {post + "Content-Length: 2x\r\n\r\n{}", "400", "no HTTP request"},
                {post + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{} ", "400", "no HTTP request"},
                {"GET /other HTTP/1.1\r\n" + Host() + "\r\n", "404", "nothing of that name to be read"},
                {"PUT / HTTP/1.1\r\n" + Host() + "\r\n", "405", "GET, HEAD and POST"},
                {post + "\r\n", "411", "Content-Length"},
                {post + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n{}", "411", "Content-Length"},
                {post + "Content-Length: 4097\r\n\r\n", "413", "4096 bytes"},
                {post + "Content-Length: 99999999999999999999999\r\n\r\n", "413", "4096 bytes"},
                {"GET /" + std::string(1024, 'x') + " HTTP/1.1\r\n", "414", "1024 bytes"},
                {post + "Content-Length: 2\r\nContent-Encoding: gzip\r\n\r\n{}", "415", "without a Content-Encoding"}};

    for (const auto& row : rows)
        EXPECT_THAT(Ask(row.request), testing::AllOf(StartsWith(std::string("HTTP/1.1 ") + row.status),
                                                     HasSubstr("{\"error\":\""), HasSubstr(row.words)))
            << row.request;
    EXPECT_EQ(posts.size(), 0u);
}

TEST_F(PanelServerTest, GivesTheHistoryOfASignal) {
    feed.Change(0, true, 3ms);
    const auto history = [this](const std::string& query) {
        return Ask("GET /history" + query + " HTTP/1.1\r\n" + Host() + "\r\n");
    };

    EXPECT_THAT(history("?signal=0&before=1"),
                testing::AllOf(StartsWith("HTTP/1.1 200"),
                               testing::EndsWith("\r\n\r\n{\"changes\":[[0,0,3000,3000,1,1]],\"more\":false}")));
    EXPECT_THAT(history("?signal=1&before=1"), StartsWith("HTTP/1.1 404"));
    for (const char* query : {"", "?signal=0", "?before=1", "?signal=-1&before=1", "?signal=0&before=x",
                              "?signal=0&before=99999999999999999999"})
        EXPECT_THAT(history(query), testing::AllOf(StartsWith("HTTP/1.1 400"), HasSubstr("?signal=NUMBER&before=ID")))
            << query;
}

TEST_F(PanelServerTest, SendsTheRecordingPieceByPiece) {
    const std::string request = "GET /run.vcd HTTP/1.1\r\n" + Host() + "\r\n";

    EXPECT_THAT(Ask(request), testing::AllOf(StartsWith("HTTP/1.1 200"),
                                             HasSubstr("Content-Disposition: attachment; filename=\"run.vcd\""),
                                             testing::EndsWith("\r\n\r\n4\r\none \r\n3\r\ntwo\r\n0\r\n\r\n")));

    failure = Failure::BEFORE;
    EXPECT_THAT(Ask(request),
                testing::AllOf(StartsWith("HTTP/1.1 409"), HasSubstr("not started"), Not(HasSubstr("attachment"))));

    failure = Failure::WITHIN; // the client sees that the last chunk does not come
    EXPECT_THAT(Ask(request), testing::EndsWith("4\r\none \r\n"));
}

TEST_F(PanelServerTest, ServesAPictureForATabThatAsksAgain) {
    const std::string request = "GET /board.svg HTTP/1.1\r\n" + Host();

    EXPECT_THAT(Ask(request + "\r\n"),
                testing::AllOf(StartsWith("HTTP/1.1 200"), HasSubstr("Content-Type: image/svg+xml"),
                               HasSubstr("Cache-Control: no-store"), HasSubstr("Refresh: 1\r\n"),
                               testing::EndsWith("\r\n\r\n<svg/>")));
}

TEST_F(PanelServerTest, LetsOtherSitesEmbedThePictureAsAnImage) {
    for (const char* site : {"cross-site", "same-site"})
        EXPECT_THAT(Ask("GET /board.svg?1 HTTP/1.1\r\n" + Host() + "Sec-Fetch-Site: " + site +
                        "\r\nSec-Fetch-Mode: no-cors\r\nSec-Fetch-Dest: image\r\n\r\n"),
                    testing::AllOf(StartsWith("HTTP/1.1 200"), HasSubstr(POLICY + "cross-origin\r\n"),
                                   Not(HasSubstr(POLICY + "same-origin")), Not(HasSubstr("Access-Control-Allow")),
                                   HasSubstr("frame-ancestors 'none'"), testing::EndsWith("\r\n\r\n<svg/>")))
            << site;
}

TEST_F(PanelServerTest, LetsOtherSitesDoNothingElseWithThePicture) {
    const std::string ofImage = "Sec-Fetch-Mode: no-cors\r\nSec-Fetch-Dest: image\r\n";
    const struct {
        std::string line;
        std::string headers;
    } rows[] = {
        {"GET /board.svg", Host() + "Sec-Fetch-Mode: no-cors\r\nSec-Fetch-Dest: script\r\n"},
        {"GET /board.svg", Host() + "Sec-Fetch-Mode: no-cors\r\nSec-Fetch-Dest: object\r\n"},
        {"GET /board.svg", Host() + "Sec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: iframe\r\n"},
        {"GET /board.svg", Host() + "Sec-Fetch-Mode: cors\r\nSec-Fetch-Dest: image\r\n"},
        {"GET /board.svg", Host() + "Origin: http://example.com\r\n" + ofImage},
        {"GET /board.svg", "Host: example.com\r\n" + ofImage}, // DNS rebinding
        {"HEAD /board.svg", Host() + ofImage},
        {"POST /board.svg", Host() + ofImage + "Content-Length: 0\r\n"},
        {"GET /run.vcd", Host() + ofImage},
        {"GET /board.svg/", Host() + ofImage},
    };

    for (const auto& row : rows)
        EXPECT_THAT(Ask(row.line + " HTTP/1.1\r\n" + row.headers + "Sec-Fetch-Site: cross-site\r\n\r\n"),
                    testing::AllOf(StartsWith("HTTP/1.1 403"), Not(HasSubstr(POLICY + "cross-origin"))))
            << row.line << " " << row.headers;
    EXPECT_EQ(posts.size(), 0u);
}

// The library keeps them all, in any number.
TEST_F(PanelServerTest, BoundsTheHeadersOfARequest) {
    std::string headers = "GET /state HTTP/1.1\r\n" + Host();
    while (headers.size() < 32'700)
        headers += "Cookie: " + std::string(50, 'x') + "\r\n";
    EXPECT_THAT(Ask(headers + "\r\n"), StartsWith("HTTP/1.1 200"));

    EXPECT_THAT(
        Ask(headers + headers),
        testing::AllOf(StartsWith("HTTP/1.1 431"), HasSubstr("{\"error\":\"the headers"), HasSubstr("32768 bytes")));
}

TEST_F(PanelServerTest, SendsAFileOnceHoweverManyRangesOfItAreWanted) {
    std::string ranges = "0-";
    for (int i = 0; i < 1000; ++i)
        ranges += ",0-";

    const std::string answer = Ask("GET /panel.js HTTP/1.1\r\nrange: bytes=" + ranges + "\r\n" + Host() + "\r\n");

    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
    EXPECT_LT(answer.size(), 100'000U);
}

TEST_F(PanelServerTest, GivesUpOnARequestThatDoesNotEnd) {
    server.reset();
    PanelFeed pages{"{}", {false}, [] { return 1ms; }};
    server = std::make_unique<PanelServer>(pages, PanelServer::Actions(), 0, 50ms);

    EXPECT_THAT(Ask("GET /state HTTP/1.1\r\n" + Host()),
                testing::AllOf(StartsWith("HTTP/1.1 408"), HasSubstr("did not come to its end in time")));
    EXPECT_EQ(Ask(""), "");
    server.reset(); // before the feed is destroyed
}

// Each of them would hold a thread for a minute.
TEST_F(PanelServerTest, AnswersHoweverManyClientsStall) {
    // The library lazily initialises constants under a lock that the sanitizer does not see; do it before several
    // threads use them.
    Ask("GET /state HTTP/1.1\r\n" + Host() + "\r\n");
    server.reset();
    PanelFeed pages{"{}", {false}, [] { return 1ms; }};
    server = std::make_unique<PanelServer>(pages, PanelServer::Actions(), 0, 60s);
    std::vector<std::unique_ptr<Connection>> stalled;
    for (std::size_t i = 0; i < 2 * PanelServer::THREADS; ++i) {
        stalled.push_back(std::make_unique<Connection>(server->Port()));
        if (i % 4 == 1)
            stalled.back()->Send("GET /state HTTP/1.1\r\n");
        if (i % 4 == 2)
            stalled.back()->Send("POST /x HTTP/1.1\r\n" + Host() + "Content-Length: 4\r\n\r\n");
        if (i % 4 == 3)
            stalled.back()->Send(Events());
    }

    EXPECT_THAT(Ask("GET /state HTTP/1.1\r\n" + Host() + "\r\n"), StartsWith("HTTP/1.1 200"));
    server.reset();
}

TEST_F(PanelServerTest, StreamsToTwentyPagesAtOnce) {
    std::vector<std::unique_ptr<Connection>> pages;
    for (int i = 0; i < 20; ++i) {
        pages.push_back(std::make_unique<Connection>(server->Port()));
        pages.back()->Send(Events());
        EXPECT_THAT(pages.back()->ReadUntil("\n\n"), HasSubstr("Content-Type: text/event-stream"));
        // The first message may come with the headers or after them.
    }
    feed.Change(0, true, 5ms);
    feed.Publish();

    for (const auto& page : pages)
        EXPECT_THAT(page->ReadUntil("\"levels\":\"1\""), HasSubstr("\"levels\":\"1\""));
    EXPECT_THAT(Ask("GET /state HTTP/1.1\r\n" + Host() + "\r\n"), HasSubstr("\"levels\":\"1\""));
}

TEST_F(PanelServerTest, TellsPagesTheLastNewsWhenItEnds) {
    Connection page(server->Port());
    page.Send(Events()).ReadUntil("data: ");
    feed.Status("program", "\"ended\"");

    server.reset();

    EXPECT_THAT(page.ReadAll(), HasSubstr("\"program\":\"ended\""));
}

TEST_F(PanelServerTest, IsNotHeldUpByPagesThatDoNotReadOrAsk) {
    server.reset();
    PanelFeed pages{"{}", {false}, [] { return 1ms; }};
    server = std::make_unique<PanelServer>(pages, PanelServer::Actions(), 0, 60s);
    const Connection silent(server->Port());
    Connection deaf(server->Port());
    deaf.Send(Events()).ReadUntil("data: ");
    // More than the kernel buffers for a connection.
    for (int round = 0; round < 20; ++round) {
        for (std::size_t i = 0; i < PanelFeed::KEPT_RECORDS; ++i)
            pages.Record(PanelFeed::Log::SYSTEM, std::string(PanelFeed::LONGEST_RECORD, 'x'), 1ms);
        pages.Publish();
    }

    const auto begin = std::chrono::steady_clock::now();
    server.reset();

    // Much shorter than the patience while the board runs.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 30s);
}

TEST_F(PanelServerTest, SharesItsPortWithNobody) {
    try {
        const PanelServer second(feed, PanelServer::Actions(), server->Port());
        ADD_FAILURE() << "two servers on a port";
    } catch (const BoardError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot open the panel on port " + std::to_string(server->Port())));
        EXPECT_THAT(error.what(), HasSubstr("in use"));
    }
}

TEST_F(PanelServerTest, OpensItsPortAgainAtOnce) {
    const int port = server->Port();
    Connection page(port);
    page.Send(Events()).ReadUntil("data: ");
    server.reset();

    PanelFeed another("{}", {false}, [] { return 1ms; });
    const PanelServer second(another, PanelServer::Actions(), port);

    EXPECT_EQ(second.Address(), "http://127.0.0.1:" + std::to_string(port) + "/");
}

} // namespace
} // namespace VelrixBoard
