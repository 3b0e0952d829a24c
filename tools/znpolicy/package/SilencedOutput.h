// Standard output for the length of a library call.
#pragma once

// While an object lives, what is written to standard output goes nowhere: unzip, which the library
// runs, lists the files it unpacks, and a command's answer must not begin with that. What unzip
// writes to standard error is shown as ever.
class SilencedOutput {
   public:
    SilencedOutput();
    ~SilencedOutput();
    SilencedOutput(const SilencedOutput&) = delete;
    SilencedOutput& operator=(const SilencedOutput&) = delete;

   private:
    int saved_;
};
