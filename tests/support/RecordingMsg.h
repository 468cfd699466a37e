// A message object for tests: records every box and answers from a script.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "foundation/Msg.h"

class CRecordingMsg : public CMsg {
public:
    struct Box {
        std::wstring text;
        u32 flags;
        bool waited = true; // false for a failure shown by Notify, which waits for no answer
    };

    i32 Show(const std::wstring& text, u32 flags) override {
        boxes.push_back({text, flags});
        if (answers.empty())
            return 0;
        i32 answer = answers.front();
        answers.pop_front();
        return answer;
    }

    void Notify(const CSimpleErr& error) override {
        CMsg::Notify(error);
        boxes.back().waited = false;
    }

    std::vector<Box> boxes;
    std::deque<i32> answers; // answered in order; 0 (a failed box) when the script is used up
};
