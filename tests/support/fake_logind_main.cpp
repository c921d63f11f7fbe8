// A system bus with a logind of ours for another program. Prints the bus's address, then "guarded" and
// "released" as the lock against sleep comes and goes. Standard input: "sleep", "wake"; its end ends this.

#include "support/fake_logind.h"

#include <exception>
#include <iostream>

namespace {

void run() {
    PrivateBus bus;
    FakeLogind logind(bus.address());
    std::cout << bus.address() << std::endl;
    bool guarded = false;
    bool ended = false;
    const auto look = [&] {
        if (logind.holds("sleep") != guarded) {
            guarded = !guarded;
            std::cout << (guarded ? "guarded" : "released") << std::endl;
        }
        pollfd input{STDIN_FILENO, POLLIN, 0};
        std::string order;
        if (poll(&input, 1, 0) > 0) {
            ended = !std::getline(std::cin, order);
            if (!ended) logind.prepareForSleep(order == "sleep");
        }
        return ended;
    };
    while (!ended) logind.until(look);
}

} // namespace

int main() {
    try {
        run();
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
