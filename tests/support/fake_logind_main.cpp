// A system bus with a logind and a NetworkManager of ours for another program. Prints the bus's address, then
// "guarded" and "released" as the lock against sleep comes and goes. Standard input: "sleep", "wake"; its end
// ends this. With the argument "metered" the user pays for what is transferred.

#include "support/fake_logind.h"
#include "support/fake_network_manager.h"

#include <exception>
#include <iostream>

namespace {

void run(bool isMetered) {
    PrivateBus bus;
    FakeLogind logind(bus.address());
    const FakeNetworkManager network(bus.address(), isMetered ? 1 : 2);
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

int main(int argc, char** argv) {
    try {
        run(argc > 1 && argv[1] == std::string("metered"));
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
