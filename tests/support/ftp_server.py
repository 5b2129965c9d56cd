"""A real FTP server on 127.0.0.1 for the tests: ftp_server.py ROOT MODE.

ROOT is the login folder of "anna" (password "s3cret"), given a folder "pics". MODE serve takes
every upload; stall stops the server, close hangs up, shortly after a file starts to come. Prints
its port (below 32768: the program keeps ports as 16-bit integers) and process id, then serves
until killed.
"""

import logging
import os
import random
import sys
import time

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.servers import FTPServer

root, mode = sys.argv[1], sys.argv[2]
os.makedirs(os.path.join(root, "pics"), exist_ok=True)


class MisbehavingDTPHandler(DTPHandler):
    def __init__(self, sock, cmd_channel):
        super().__init__(sock, cmd_channel)
        if mode == "stall":
            self.ioloop.call_later(0.05, time.sleep, 3600)
        elif mode == "close":
            self.ioloop.call_later(0.05, cmd_channel.close)


authorizer = DummyAuthorizer()
authorizer.add_user("anna", "s3cret", root, perm="elradfmw")
handler = FTPHandler
handler.authorizer = authorizer
handler.dtp_handler = MisbehavingDTPHandler
handler.banner = "Welcome to the tests of the FTP client: this greeting is long enough to take two lines."
logging.basicConfig(level=logging.CRITICAL)
for port in random.sample(range(20000, 32768), 500):
    try:
        server = FTPServer(("127.0.0.1", port), handler)
        break
    except OSError:
        continue
print(server.address[1], os.getpid(), flush=True)
server.serve_forever()
