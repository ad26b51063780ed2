extern "C" __attribute__((visibility("default"))) int some_other_entry() {
  return 1;
}
