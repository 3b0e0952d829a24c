#include "Json.h"

#include <iostream>

void PrintJson(const Json& document) {
    std::cout << document.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}
