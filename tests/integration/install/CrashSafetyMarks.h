// Paths that do not exist. A traced program accesses them where its work begins and ends.
#pragma once

constexpr char kWorkBegins[] = "/the work begins";
constexpr char kWorkEnds[] = "/the work ends";
