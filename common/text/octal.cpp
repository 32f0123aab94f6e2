#include "common/text/octal.h"

int octalToDecimal(int number) {
  int value = 0;
  for (int weight = 1; number != 0; number /= 10, weight *= 8) value += number % 10 * weight;
  return value;
}
