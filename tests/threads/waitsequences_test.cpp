// Runs the sequences of waitsequences.txt: the same data, the same answers on both
// targets, so that the library's Linux objects are held to what Windows answers.
#include "XoSignalObject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Release {
    void operator()(XoSignalObject* o) const { o->release(); }
};

class Sequence {
public:
    explicit Sequence(std::string name) : name_(std::move(name)) {}
    ~Sequence() {
        for (auto& [name, thread] : threads_)
            thread.join();
    }

    void run(const std::string& line, int lineNumber) {
        std::istringstream in(line);
        std::vector<std::string> words;
        for (std::string w; in >> w;)
            words.push_back(w);
        const std::string where = name_ + ", line " + std::to_string(lineNumber) + ": " + line;
        const std::string& op = words[0];
        if (op == "new") {
            events_[words[1]].reset(createXoEvent(words[2] == "auto", words[3] == "1", nullptr));
        } else if (op == "set" || op == "reset") {
            EXPECT_TRUE(events_.at(words[1])->setSignaled(op == "set")) << where;
        } else if (op == "pause") {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(words[1])));
        } else if (op == "start") {
            const std::vector<std::string> wait(words.begin() + 2, words.end());
            unsigned* result = &results_[words[1]];
            threads_.emplace(words[1],
                             std::thread([this, wait, result] { *result = this->wait(wait); }));
        } else if (op == "join") {
            threads_.at(words[1]).join();
            threads_.erase(words[1]);
            EXPECT_EQ(results_[words[1]], std::stoul(words[3])) << where;
        } else {
            const auto equals = std::find(words.begin(), words.end(), "=");
            ASSERT_NE(equals, words.end()) << where;
            EXPECT_EQ(wait({words.begin(), equals}), std::stoul(*(equals + 1))) << where;
        }
    }

private:
    // "wait a 0", "any a b 0", "all a b 0".
    unsigned wait(const std::vector<std::string>& words) {
        std::vector<XoSignalObject*> objects;
        for (std::size_t i = 1; i + 1 < words.size(); ++i)
            objects.push_back(events_.at(words[i]).get());
        const auto timeout = unsigned(std::stoul(words.back()));
        if (words[0] == "wait")
            return xoWaitForSingleObject(objects[0], timeout);
        return xoWaitForMultipleObject(objects.data(), unsigned(objects.size()), words[0] == "all",
                                       timeout);
    }

    std::string name_;
    std::map<std::string, std::unique_ptr<XoEvent, Release>> events_;
    std::map<std::string, std::thread> threads_;
    std::map<std::string, unsigned> results_;
};

TEST(WaitSequences, EveryAnswerAsWritten) {
    std::ifstream file(XO_WAIT_SEQUENCES);
    ASSERT_TRUE(file) << "cannot read " << XO_WAIT_SEQUENCES;
    std::unique_ptr<Sequence> sequence;
    int lineNumber = 0, sequences = 0;
    for (std::string line; std::getline(file, line);) {
        ++lineNumber;
        if (line.empty() || line[0] == '#')
            continue;
        if (line.compare(0, 9, "sequence ") == 0) {
            sequence = std::make_unique<Sequence>(line.substr(9));
            ++sequences;
            continue;
        }
        ASSERT_NE(sequence, nullptr) << "line " << lineNumber << " before any sequence";
        sequence->run(line, lineNumber);
    }
    EXPECT_GE(sequences, 10);
}

} // namespace
