#include "attbat/update/CurlLibrary.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>

#include "LoopbackServer.h"
#include "attbat/update/HttpGet.h"

namespace {

// Whether a library whose file name holds `name` is mapped into this process.
bool Mapped(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line))
        if (line.find(name) != std::string::npos) return true;
    return false;
}

TEST(CurlLibrary, IsLoadedByTheFirstRequestAndNotWithTheProgram) {
    EXPECT_FALSE(Mapped("libcurl")) << "a program that never goes on the network maps libcurl";
    const std::map<std::string, std::string> files{{"/list.txt", "ACAD*25*Velmar: 9.80\r\n"}};
    LoopbackServer server(files);
    ASSERT_NE(server.Port(), 0);
    const attbat::HttpAnswer answer =
        attbat::HttpGet("http://" + server.Host() + "/list.txt", {2000, 3000});
    EXPECT_TRUE(Mapped("libcurl"));
    ASSERT_TRUE(answer.answered) << answer.error;
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "ACAD*25*Velmar: 9.80\r\n");
}

TEST(CurlLibrary, LoadsOnceAndGivesTheSameFunctionsAgain) {
    std::string error;
    const attbat::CurlLibrary* first = attbat::LoadCurl(error);
    ASSERT_NE(first, nullptr) << error;
    EXPECT_EQ(error, "");
    EXPECT_EQ(attbat::LoadCurl(error), first);
    EXPECT_NE(first->easyInit, nullptr);
    EXPECT_NE(first->easyStrerror, nullptr);
    EXPECT_STREQ(first->easyStrerror(CURLE_OK), "No error");
}

}  // namespace
