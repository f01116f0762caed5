// hold_file FILE: keeps the file open without letting anybody else in, from the line "held" on until standard input ends.

#include "support/held_file.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    try
    {
        const tav3d::test::HeldFile file(argv[1]);
        std::cout << "held" << std::endl;
        while (std::cin.get() != std::char_traits<char>::eof())
        {
        }
    }
    catch (const std::exception& error)
    {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
