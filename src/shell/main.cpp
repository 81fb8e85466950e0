#include "shell/startup.h"

int main(int argc, char** argv) { start_up(argc, argv); }
