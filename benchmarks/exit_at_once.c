/* The shortest possible installer. */
int main(void) {
  return 0;
}
