// Isn't to compile: two results that nobody reads.
#include "tllogics.hpp"

int main()
{
    tllogics::Session session;
    session.dispenseTL(100, "T1");
    session.close();
}
