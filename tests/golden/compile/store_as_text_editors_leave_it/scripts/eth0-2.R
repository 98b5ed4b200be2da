RATE=1
2
BURST=a\b\q
PRIO=first
MTU=x=y
