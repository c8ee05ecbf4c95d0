#include "common/framework.h"

#include <cstdlib>
#include <iostream>

namespace ai_orvo::model {

void exitForUnknownFramework(const std::string& framework) {
    std::cout << "Framework " + framework + " not implemented\n" << std::flush;
    std::exit(EXIT_SUCCESS);
}

}  // namespace ai_orvo::model
