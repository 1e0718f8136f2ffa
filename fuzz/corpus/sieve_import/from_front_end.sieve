require ["fileinto", "imap4flags"];
# rule:[Lists]
if anyof (header :contains "list-id" "example", not header :matches ["subject"] ["[dev]*", "*x\\*"])
{
	fileinto "Lists";
	stop;
}
## Filter: Boss
if allof (address :all :is "from" "boss@example.org", not size :over 2K) /* both */
{
	fileinto :copy "Größe/Boss";
	addflag "\\Seen";
	stop;
}
elsif header :comparator "i;octet" :is "X-A" text:
..b
.
{ keep; }
else { discard; }
