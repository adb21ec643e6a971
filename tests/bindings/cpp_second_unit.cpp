// The header once more in the same program, in C++20.
#include "tllogics.hpp"

std::string refusalOfASession();

std::string refusalOfASession()
{
    try {
        const tllogics::Session session;
        return "";
    } catch (const tllogics::Refused& refused) {
        return refused.what();
    }
}
