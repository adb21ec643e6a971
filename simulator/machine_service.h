// What a machine offers on its port: the link to a till, its control, its events, and a page to look at.
#pragma once

#include "simulator/machine.h"
#include "web/server.h"

namespace simulator {

class MachineService : public web::Service {
public:
    /// The machine outlives the service.
    explicit MachineService(Machine& machine) : m_machine(machine) {}

    void handle(const web::Request& request, const std::shared_ptr<web::Exchange>& exchange) override;
    std::unique_ptr<web::Listener> open(const web::Request& request,
                                        const std::shared_ptr<web::Socket>& socket) override;

private:
    void wait(const std::string& json, const std::shared_ptr<web::Exchange>& exchange);

    Machine& m_machine;
};

} // namespace simulator
