#pragma once
// Editor prompts: the host's acedInitGet / acedGetKword / acedGetString / acedGetInt with the
// same prompt texts, keywords and result codes. Answers come from the console (answers file,
// then terminal); a prompt nobody answers is a cancel (RTCAN).

#include <string>
#include <string_view>
#include <vector>

namespace host {

class Console;

// Result codes of editor input.
constexpr int RTNORM = 5100;
constexpr int RTNONE = 5000;
constexpr int RTERROR = -5001;
constexpr int RTCAN = -5002;
constexpr int RTREJ = -5003;
constexpr int RTKWORD = -5005;

// Input flags of InitGet.
constexpr int RSG_NONULL = 1;
constexpr int RSG_NOZERO = 2;
constexpr int RSG_NONEG = 4;

// Prompts of one run. InitGet applies to the next Get call only, as in the host.
class Editor {
public:
    // Answers come from `console` (not owned).
    explicit Editor(Console& console) : console_(console) {}

    // Sets the flags and the blank-separated keywords of the next Get call; always RTNORM.
    int InitGet(int flags, std::string_view keywords);
    // A keyword of InitGet's list, spelt as the list has it. Empty input gives RTNONE (asked
    // again under RSG_NONULL); a text that names no keyword is refused and asked again.
    int GetKword(std::string_view prompt, std::string& result);
    // A text; unless `crAllowed`, a blank ends it as the host's space bar would. Empty is RTNORM.
    int GetString(bool crAllowed, std::string_view prompt, std::string& result);
    // An integer; a keyword of InitGet's list gives RTKWORD (read it with GetInput). Texts that
    // are no integer, and values the flags forbid, are refused and asked again.
    int GetInt(std::string_view prompt, int& result);
    // The keyword that the last Get call returned RTKWORD for.
    int GetInput(std::string& keyword) const;

    // The keyword of `keywords` that `input` names: the whole keyword or a start of it at least as
    // long as its capitals (without regard to case); "" when none or more than one do.
    static std::string MatchKeyword(std::string_view keywords, std::string_view input);

private:
    struct Pending {
        int flags = 0;
        std::string keywords;
    };
    Pending TakePending();
    // One answered line; false when nobody answers (a cancel).
    bool Ask(std::string_view prompt, std::string& line);

    Console& console_;
    Pending pending_;
    std::string lastKeyword_;
};

// The editor of this run.
Editor& CurrentEditor();

}  // namespace host
