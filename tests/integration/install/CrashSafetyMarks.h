// Paths that do not exist; a program under trace asks for them where its work begins and ends.
#pragma once

constexpr char kWorkBegins[] = "/the work begins";
constexpr char kWorkEnds[] = "/the work ends";
