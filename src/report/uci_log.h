// The head of the uci log: the machine, the settings of the configuration
// file, and every option that differs from its default.
#pragma once

// Written when the log opens; opened late by setoption, it shows the values
// then in force.
void write_uci_log_head();
