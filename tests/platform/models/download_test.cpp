#include "platform/models/download.h"

#include "base/error.h"
#include "models/model_store.h"
#include "support/environment.h"
#include "support/http_server.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

namespace {

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;

/// A megabyte in which every place is different.
std::string makeModel() {
    std::string bytes;
    for (int i = 0; bytes.size() < 1000000; ++i) bytes += std::to_string(i) + ",";
    return bytes.substr(0, 1000000);
}

class Download : public testing::Test {
  protected:
    void serve(HttpServer::Handler handler) { server.emplace(std::move(handler)); }
    void serveWhole() {
        serve([this](const auto& request, const auto& client) { client.answerFile(request, model); });
    }

    void run(const std::string& url, const std::stop_token& stop = {}) {
        LocalFile file = LocalFile::forAppending(part);
        download(
            {url, model.size()}, file, limits,
            [this](std::uint64_t bytes) {
                reported.push_back(bytes);
                if (onBytes) onBytes();
            },
            stop);
    }
    std::string failureOf(const std::string& url, ModelFailure code = ModelFailure::network,
                          const std::stop_token& stop = {}) {
        try {
            run(url, stop);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "models");
            EXPECT_EQ(error.code(), static_cast<int>(code));
            return error.localizedDescription();
        }
        return "nothing";
    }
    std::string failure(ModelFailure code = ModelFailure::network) {
        return failureOf(server->url("/m"), code);
    }
    bool isComplete() const { return contentOf(part) == model; }
    std::vector<long> rangeBegins() const {
        std::vector<long> begins;
        for (const auto& request : server->requests()) begins.push_back(request.rangeBegin);
        return begins;
    }

    const std::string model = makeModel();
    TemporaryFolder folder;
    const std::filesystem::path part = folder / "part";
    DownloadLimits limits{5, 1, 3};
    std::vector<std::uint64_t> reported;
    std::function<void()> onBytes;
    std::optional<HttpServer> server; // last: its handler uses all of the above
};

std::string statusComplaint(const std::string& status) {
    return "127.0.0.1 does not give out the speech model (HTTP status " + status + ").";
}

std::string refusal(const std::string& url) {
    return "“" + url + "” is refused: speech models come over https only.";
}

TEST_F(Download, BringsEveryByteAndReportsThem) {
    serveWhole();
    run(server->url("/models/m.tar.bz2"));
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(server->requests().at(0).target, "/models/m.tar.bz2");
    EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end()));
    EXPECT_EQ(reported.back(), model.size());
}

TEST_F(Download, WhatIsCompleteIsNotAskedFor) {
    serveWhole();
    writeFile(part, model);
    run(server->url("/m"));
    EXPECT_TRUE(server->requests().empty());
}

TEST_F(Download, GoesOnWhereAnEarlierOneEnded) {
    serveWhole();
    writeFile(part, model.substr(0, 300000));
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(rangeBegins(), std::vector<long>{300000});
    EXPECT_GT(reported.front(), 300000U);
}

TEST_F(Download, ServerThatCutsOffLeavesABeginningToGoOnFrom) {
    serve([this](const auto& request, const auto& client) {
        if (request.rangeBegin > 0) return client.answerFile(request, model);
        client.sendHead("200 OK", "Content-Length: 1000000\r\n");
        client.send(std::string_view(model).substr(0, 400000));
    });
    EXPECT_EQ(failure(), "The download of the speech model from 127.0.0.1 broke off after 0.4 MB of 1.0 MB; "
                         "the next attempt goes on from there.");
    EXPECT_EQ(contentOf(part), model.substr(0, 400000));
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(rangeBegins(), (std::vector<long>{0, 400000}));
}

TEST_F(Download, ServerThatStallsIsGivenUpAndLeavesABeginning) {
    serve([this](const auto&, const auto& client) {
        client.sendHead("200 OK", "Content-Length: 1000000\r\n");
        client.send(std::string_view(model).substr(0, 500));
        client.stall();
    });
    EXPECT_EQ(failure(),
              "127.0.0.1 stopped sending the speech model after 0.0 MB of 1.0 MB; the next attempt "
              "goes on from there.");
    EXPECT_EQ(contentOf(part), model.substr(0, 500));
}

TEST_F(Download, ServerThatNeverAnswersIsGivenUp) {
    serve([](const auto&, const auto& client) { client.stall(); });
    EXPECT_EQ(failure(), "The speech model could not be downloaded from 127.0.0.1: Timeout was reached.");
}

TEST_F(Download, ServerThatSaysNothingAndGoesIsAnError) {
    serve([](const auto&, const auto&) {});
    EXPECT_EQ(failure(),
              "The speech model could not be downloaded from 127.0.0.1: Server returned nothing (no "
              "headers, no data).");
}

TEST_F(Download, ServerThatIsNotThereIsAnError) {
    std::string url;
    {
        const HttpServer gone([](const auto&, const auto&) {});
        url = gone.url("/m");
    }
    const std::string sentence = "The speech model could not be downloaded from 127.0.0.1: ";
    EXPECT_THAT(failureOf(url), AnyOf(sentence + "Couldn't connect to server.", // older versions of libcurl
                                      sentence + "Could not connect to server."));
}

TEST_F(Download, ServerThatIgnoresRangesStartsOver) {
    serve([this](const auto&, const auto& client) { client.answer("200 OK", model); });
    writeFile(part, "of another time");
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
}

TEST_F(Download, ServerThatKnowsNoSuchRangeStartsOver) {
    serve([this](const auto& request, const auto& client) {
        if (request.rangeBegin > 0) return client.answer("416 Range Not Satisfiable", "");
        client.answer("200 OK", model);
    });
    writeFile(part, model.substr(0, 1000));
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(rangeBegins(), (std::vector<long>{1000, 0}));
}

TEST_F(Download, ServerThatSendsAnotherRangeStartsOver) {
    serve([this](const auto& request, const auto& client) {
        if (request.rangeBegin == 0) return client.answer("200 OK", model);
        client.answer("206 Partial Content", model.substr(500),
                      "Content-Range: bytes 500-999999/1000000\r\n");
    });
    writeFile(part, model.substr(0, 1000));
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
}

TEST_F(Download, AFileThatIsTooLongStartsOver) {
    serveWhole();
    writeFile(part, model + "more");
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
}

TEST_F(Download, ErrorPageWithStatus200IsNoModelAndCostsNothingOfTheBeginning) {
    serve([](const auto&, const auto& client) { client.answer("200 OK", "<html>Please log in</html>"); });
    writeFile(part, model.substr(0, 1000));
    EXPECT_EQ(failure(),
              "What 127.0.0.1 sent is not the speech model: it has 26 bytes instead of 1000000. Some "
              "networks answer with a page of their own until one has logged in.");
    EXPECT_EQ(contentOf(part), model.substr(0, 1000));
}

TEST_F(Download, ErrorPageOfUnknownLengthIsNoModel) {
    serve([](const auto&, const auto& client) {
        client.sendHead("200 OK");
        client.send("<html>Please log in</html>");
    });
    EXPECT_THAT(failure(ModelFailure::content), HasSubstr("it has 26 bytes instead of 1000000."));
}

TEST_F(Download, AnEmptyAnswerIsNoModel) {
    serve([](const auto&, const auto& client) { client.answer("200 OK", ""); });
    EXPECT_THAT(failure(), HasSubstr("it has no bytes instead of 1000000."));
}

TEST_F(Download, ServerThatSendsMoreThanTheModelIsCutOff) {
    serve([this](const auto&, const auto& client) {
        client.sendHead("200 OK");
        client.send(model);
        client.send(model);
    });
    EXPECT_THAT(failure(ModelFailure::content), HasSubstr("it has more bytes instead of 1000000."));
    EXPECT_LE(std::filesystem::file_size(part), model.size());
}

TEST_F(Download, ServerThatAnnouncesMoreThanItSendsIsAnErrorAtOnce) {
    serve([this](const auto&, const auto& client) {
        client.sendHead("200 OK", "Content-Length: 2000000\r\n");
        client.send(model);
    });
    EXPECT_THAT(failure(), HasSubstr("it has 2000000 bytes instead of 1000000."));
    EXPECT_EQ(std::filesystem::file_size(part), 0U);
}

TEST_F(Download, ServerWhoseFileHasChangedItsLengthIsAnError) {
    serve([this](const auto&, const auto& client) {
        client.answer("206 Partial Content", model, "Content-Range: bytes 1000-1999999/2000000\r\n");
    });
    writeFile(part, model.substr(0, 1000));
    EXPECT_THAT(failure(ModelFailure::content), HasSubstr("it has 2000000 bytes instead of 1000000."));
}

TEST_F(Download, APartThatNobodyAskedForIsAnError) {
    serve([this](const auto&, const auto& client) {
        client.answer("206 Partial Content", model, "Content-Range: bytes 500-999999/1000000\r\n");
    });
    EXPECT_EQ(failure(), "127.0.0.1 sent a part of the speech model instead of the whole.");
}

TEST_F(Download, AStatusThatMeansFailureIsTold) {
    for (const char* status :
         {"404 Not Found", "403 Forbidden", "500 Internal Server Error", "304 Not Modified"}) {
        serve([&](const auto&, const auto& client) { client.answer(status, ""); });
        EXPECT_EQ(failure(), statusComplaint(std::string(status).substr(0, 3)));
    }
    EXPECT_EQ(std::filesystem::file_size(part), 0U);
}

TEST_F(Download, ARefusalWithoutEndIsCutOff) {
    serve([this](const auto&, const auto& client) {
        client.sendHead("404 Not Found");
        while (client.send(model)) {
        }
    });
    EXPECT_EQ(failure(), statusComplaint("404"));
}

TEST_F(Download, RedirectsAreFollowedWithTheRange) {
    serve([this](const auto& request, const auto& client) {
        if (request.target == "/m") return client.answer("302 Found", "moved", "Location: /n?x=1\r\n");
        if (request.target == "/n?x=1")
            return client.answer("307 Temporary Redirect", "", "Location: " + server->url("/o") + "\r\n");
        client.answerFile(request, model);
    });
    writeFile(part, model.substr(0, 1000));
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(rangeBegins(), (std::vector<long>{1000, 1000, 1000}));
}

TEST_F(Download, RedirectsWithoutEndAreGivenUp) {
    serve([](const auto&, const auto& client) { client.answer("302 Found", "", "Location: /m\r\n"); });
    EXPECT_EQ(failure(), "127.0.0.1 redirects more than 3 times.");
    EXPECT_EQ(server->requests().size(), 4U);
}

TEST_F(Download, ARedirectToPlainHttpElsewhereIsRefused) {
    serve([](const auto&, const auto& client) {
        client.answer("302 Found", "", "Location: http://models.example/m\r\n");
    });
    EXPECT_EQ(failure(), refusal("http://models.example/m"));
}

TEST_F(Download, OnlyHttpsAndThisMachineAreAskedAtAll) {
    for (const std::string url :
         {"http://models.example/m", "http://10.0.0.1/m", "http://127.0.0.1.example/m",
          "http://localhost.example/m", "http://127.0.0.1@models.example/m", "ftp://127.0.0.1/m",
          "file:///etc/passwd"})
        EXPECT_EQ(failureOf(url), refusal(url));
    for (const std::string url : {"", "models", "https://"})
        EXPECT_THAT(failureOf(url), EndsWith("” is no address of a speech model."));
}

TEST_F(Download, AServerWithoutACertificateIsRefused) {
    serve([](const auto&, const auto&) {});
    const std::string url = "https" + server->url("/m").substr(4);
    EXPECT_THAT(failureOf(url), HasSubstr("The speech model could not be downloaded from 127.0.0.1: "));
}

TEST_F(Download, TheProxyOfTheEnvironmentIsAsked) {
    serve([](const auto&, const auto& client) { client.answer("403 Forbidden", ""); });
    const ScopedEnvironment proxy("https_proxy", server->url(""));
    const ScopedEnvironment capitals("HTTPS_PROXY", std::nullopt);
    const ScopedEnvironment exceptions("no_proxy", std::nullopt);
    const ScopedEnvironment moreExceptions("NO_PROXY", std::nullopt);
    EXPECT_THAT(failureOf("https://models.example/m"),
                HasSubstr("The speech model could not be downloaded from models.example: "));
    ASSERT_EQ(server->requests().size(), 1U);
    EXPECT_EQ(server->requests()[0].method, "CONNECT");
    EXPECT_EQ(server->requests()[0].target, "models.example:443");
}

TEST_F(Download, ThisMachineIsAskedWithoutAProxy) {
    serveWhole();
    const ScopedEnvironment proxy("http_proxy", "http://127.0.0.1:1");
    run(server->url("/m"));
    EXPECT_TRUE(isComplete());
}

TEST_F(Download, AStopRequestEndsItWhileNothingComes) {
    std::stop_source stop;
    limits.stall = 1000;
    serve([&](const auto&, const auto& client) {
        stop.request_stop();
        client.stall();
    });
    EXPECT_EQ(failureOf(server->url("/m"), ModelFailure::stopped, stop.get_token()),
              "The installation of the speech model was stopped.");
}

TEST_F(Download, AStopRequestEndsItBetweenTwoPiecesAndKeepsThem) {
    std::stop_source stop;
    limits.stall = 1000;
    onBytes = [&] { stop.request_stop(); };
    serve([this](const auto&, const auto& client) {
        client.sendHead("200 OK", "Content-Length: 1000000\r\n");
        client.send(std::string_view(model).substr(0, 500));
        client.stall();
    });
    failureOf(server->url("/m"), ModelFailure::stopped, stop.get_token());
    EXPECT_EQ(contentOf(part), model.substr(0, 500));
}

TEST_F(Download, WhatTheListenerThrowsPassesThrough) {
    serveWhole();
    onBytes = [] { throw std::runtime_error("no more"); };
    EXPECT_THROW(run(server->url("/m")), std::runtime_error);
}

} // namespace
