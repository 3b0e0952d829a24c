// Standard output for the length of a library call.
#pragma once

// While an object lives, what is written to standard output goes nowhere: unzip, which the library
// runs, lists the files it unpacks, and a command's answer must not begin with that. What unzip
// writes to standard error is shown as ever.
class RedirectedStdout {
   public:
    RedirectedStdout();
    ~RedirectedStdout();
    RedirectedStdout(const RedirectedStdout&) = delete;
    RedirectedStdout& operator=(const RedirectedStdout&) = delete;

   private:
    int saved_;
};
