// The FM25V02 serial FRAM chip (32 KiB) that holds the parameter area and the MAC record.
#pragma once

constexpr unsigned int FM25V02_SIZE = 32 * 1024;

int FM25V02_Init();
int FM25V02_RDID();
void FM25V02_READ(unsigned int address, char *data, unsigned int length);
void FM25V02_WRITE(unsigned int address, char *data, unsigned int length);
